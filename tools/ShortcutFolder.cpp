#include "tools/ShortcutFolder.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unicode/utf8.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string_view>

namespace velmora {
namespace {

constexpr std::size_t maximumShortcuts = 10'000;

bool isOursAlone(const struct stat& status) {
    return (status.st_uid == geteuid() || status.st_uid == 0) && (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

/// The file that `path` leads to, when nobody else can put another one in its place: not in any folder above it. In a
/// folder with the sticky bit others cannot touch what is not theirs.
std::optional<std::string> targetOutOfReach(const std::string& path) {
    std::error_code failure;
    const auto target = std::filesystem::canonical(path, failure);
    if (failure) return std::nullopt;
    struct stat status {};
    for (auto folder = target.parent_path();; folder = folder.parent_path()) {
        if (stat(folder.c_str(), &status) != 0) return std::nullopt;
        const bool isSticky = (status.st_mode & S_ISVTX) != 0 && (status.st_uid == geteuid() || status.st_uid == 0);
        if (!isSticky && !isOursAlone(status)) return std::nullopt;
        if (folder == folder.root_path()) return target.string();
    }
}

std::string nameOf(std::string_view file) {
    const std::size_t dot = file.rfind('.');
    std::string_view stem = dot == std::string_view::npos || dot == 0 ? file : file.substr(0, dot);
    // As who reads the list will trim it.
    stem.remove_prefix(std::min(stem.find_first_not_of(" \t"), stem.size()));
    return std::string(stem.substr(0, stem.find_last_not_of(" \t") + 1));
}

/// Whether it can be listed and chosen: who reads the list has text in UTF-8, a name a line.
bool isListable(std::string_view name) {
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(name.data());
    for (std::size_t i = 0; i < name.size();) {
        UChar32 c = 0;
        U8_NEXT(bytes, i, name.size(), c);
        if (c < 0x20 || c == 0x7F) return false;  // what is no UTF-8 is negative
    }
    return !name.empty();
}

struct CloseFolder {
    void operator()(DIR* folder) const { closedir(folder); }
};

}  // namespace

std::vector<ShortcutFile> shortcutFiles(const std::string& folder) {
    const std::unique_ptr<DIR, CloseFolder> open(opendir(folder.c_str()));
    const int descriptor = open ? dirfd(open.get()) : -1;
    if (descriptor < 0) return {};
    struct stat status {};
    if (fstat(descriptor, &status) != 0 || !isOursAlone(status)) {
        throw std::runtime_error("The folder of shortcuts must belong to you and be writable by nobody else.");
    }
    std::vector<std::string> files;
    while (const dirent* const entry = readdir(open.get())) {
        const std::string_view file(entry->d_name);
        const bool isRunnable = !file.starts_with('.') && isListable(nameOf(file)) &&
                                fstatat(descriptor, entry->d_name, &status, 0) == 0 && S_ISREG(status.st_mode) &&
                                isOursAlone(status) && faccessat(descriptor, entry->d_name, X_OK, AT_EACCESS) == 0;
        if (isRunnable && files.size() < maximumShortcuts) files.emplace_back(file);
    }
    std::ranges::sort(files);
    std::vector<ShortcutFile> shortcuts;
    shortcuts.reserve(files.size());
    for (const std::string& file : files) {
        std::string path = folder;
        path.append("/").append(file);
        if (auto target = targetOutOfReach(path)) shortcuts.push_back({nameOf(file), *std::move(target)});
    }
    return shortcuts;
}

}  // namespace velmora
