#pragma once

#include <gio/gio.h>

#include <memory>

/// Owners for GLib's counted and allocated things.
namespace velmora::glib {

struct Unref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
struct Free {
    void operator()(gpointer memory) const { g_free(memory); }
};
struct FreeStrings {
    void operator()(gchar** strings) const { g_strfreev(strings); }
};
struct FreeError {
    void operator()(GError* error) const { g_error_free(error); }
};
struct FreeKeyFile {
    void operator()(GKeyFile* file) const { g_key_file_unref(file); }
};

template <class T>
using Object = std::unique_ptr<T, Unref>;
using String = std::unique_ptr<gchar, Free>;
using Strings = std::unique_ptr<gchar*, FreeStrings>;
using Error = std::unique_ptr<GError, FreeError>;
using KeyFile = std::unique_ptr<GKeyFile, FreeKeyFile>;

}  // namespace velmora::glib
