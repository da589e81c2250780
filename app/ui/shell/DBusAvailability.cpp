#include "app/ui/shell/DBusAvailability.h"

#include <QFileInfo>

namespace velmora {

bool hasSessionBus() {
    if (!qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS")) return true;
    const QString folder = qEnvironmentVariable("XDG_RUNTIME_DIR");
    return !folder.isEmpty() && QFileInfo::exists(folder + QStringLiteral("/bus"));
}

}  // namespace velmora
