#include "app/services/files/FileService.h"

#include "app/services/UserPath.h"
#include "core/AppError.h"
#include "core/Assert.h"
#include "core/files/FileNames.h"
#include "core/text/Text.h"

#include <algorithm>
#include <filesystem>

namespace velmora {
namespace {

constexpr std::size_t menuLimit = 8;

std::string details(const FileRecord& record) {
    std::string text = record.isDirectory ? "Folder" : text::formattedByteCount(record.size);
    if (record.modified) text += " · " + text::formattedDate(*record.modified);
    return text + " · " + text::validUtf8(record.path);
}

CommandAction action(std::string id, std::string title, ActionRole role, std::function<Task<>()> execute) {
    return {std::move(id), std::move(title), std::nullopt, role, std::move(execute)};
}

}  // namespace

FileService::FileService(Executor pool, Workspace& workspace, Pasteboard& pasteboard, PopUpMenu& menu,
                         FolderPanel& panel, std::string home)
    : pool_(std::move(pool)),
      workspace_(workspace),
      pasteboard_(pasteboard),
      menu_(menu),
      panel_(panel),
      home_(std::move(home)) {}

Task<std::string> FileService::location(std::string path) {
    VELMORA_ASSERT_MAIN();
    const std::string location = standardizedPath(fileNameBytes(path), home_);
    Actor files(pool_);
    const auto look = [&location] {
        std::error_code ignored;
        // What follows a null byte would be left out on the way to the disk.
        return location.find('\0') == std::string::npos && std::filesystem::exists(location, ignored);
    };
    const bool exists = co_await files.run(look);
    if (!exists) throw AppError::recoverable("This file no longer exists or is not accessible.");
    co_return location;
}

Task<> FileService::open(std::string path) {
    const auto self = shared_from_this();
    const std::string found = co_await location(path);
    bool refused = false;
    try {
        co_await workspace_.open(found);
    } catch (const Cancelled&) {
        throw;
    } catch (...) {
        refused = true;
    }
    if (refused) throw AppError::recoverable("No application could open this file.");
}

Task<std::vector<FileHandler>> FileService::openWithHandlers(std::string path) {
    const auto self = shared_from_this();
    const std::string found = co_await location(path);
    FileHandlers handlers = co_await workspace_.handlers(found);
    std::erase_if(handlers.all, [&](const FileHandler& handler) { return handler.path == handlers.defaultPath; });
    co_return std::move(handlers.all);
}

Task<> FileService::presentOpenWithMenu(std::string path) {
    const auto self = shared_from_this();
    std::vector<FileHandler> handlers = co_await openWithHandlers(path);
    if (handlers.empty()) throw AppError::recoverable("No other application can open this file.");
    handlers.resize(std::min(handlers.size(), menuLimit));
    const std::string found = co_await location(path);
    std::vector<std::string> titles;
    titles.reserve(handlers.size());
    for (const FileHandler& handler : handlers)
        titles.push_back(handler.name);
    const std::optional<std::size_t> chosen = co_await menu_.choose(titles);
    if (!chosen || *chosen >= handlers.size()) co_return;
    const std::string application = handlers[*chosen].path;
    try {
        co_await workspace_.openWith(found, application);
        // NOLINTNEXTLINE(bugprone-empty-catch): the application tells the user itself, or nobody does
    } catch (const std::exception&) {
    }
}

Task<> FileService::reveal(std::string path) {
    const auto self = shared_from_this();
    const std::string found = co_await location(path);
    co_await workspace_.reveal(found);
}

void FileService::copyPath(const std::string& path) {
    VELMORA_ASSERT_MAIN();
    if (!pasteboard_.setText(path)) throw AppError::recoverable("Could not update the clipboard.");
}

std::vector<ResultPointer> FileService::results(const std::vector<FileRecord>& records) {
    std::vector<ResultPointer> all;
    all.reserve(records.size());
    for (const FileRecord& record : records)
        all.push_back(result(record));
    return all;
}

ResultPointer FileService::result(const FileRecord& record) {
    auto made = std::make_shared<CommandResult>();
    made->id = "file:" + record.path;
    made->title = text::validUtf8(record.name);
    made->subtitle = details(record);
    made->icon = CommandIcon::file(record.path);
    const auto self = shared_from_this();
    const std::string& path = record.path;
    made->actions = {
        action("open", "Open", ActionRole::normal, [self, path] { return self->open(path); }),
        action("openWith", "Open With…", ActionRole::normal, [self, path] { return self->presentOpenWithMenu(path); }),
        action("reveal", "Show in Finder", ActionRole::normal, [self, path] { return self->reveal(path); }),
        action("copyPath", "Copy Path", ActionRole::write,
               [self, path]() -> Task<> {
                   self->copyPath(path);
                   co_return;
               }),
    };
    return made;
}

Task<std::optional<std::string>> FileService::chooseDirectory() {
    const auto self = shared_from_this();
    const FolderPanelRequest request{
        .title = "Choose a Folder to Search",
        .prompt = "Search Here",
        .message = "Choose a folder to narrow results to that scope. Search still covers every indexed root.",
        .startFolder = home_,
    };
    std::optional<std::string> chosen = co_await panel_.chooseFolder(request);
    if (chosen) chosen = fileNameText(*chosen);
    co_return chosen;
}

}  // namespace velmora
