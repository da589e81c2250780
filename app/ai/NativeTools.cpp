#include "app/ai/NativeTools.h"

#include "app/ai/AIRuntime.h"
#include "app/services/SystemService.h"
#include "app/services/applications/ApplicationService.h"
#include "app/services/files/FileIndexService.h"
#include "app/services/files/FileService.h"
#include "app/services/quick/Shortcuts.h"
#include "core/AppError.h"
#include "core/Assert.h"
#include "core/files/FileNames.h"
#include "platform/Pasteboard.h"

#include <map>

namespace velmora {
namespace {

using Object = JSONValue::Object;
using Array = JSONValue::Array;
using Properties = std::map<std::string, std::string>;

constexpr std::size_t maximumApplications = 30;
constexpr std::int64_t defaultListing = 20;
constexpr std::int64_t maximumListing = 100;

ToolDefinition definition(std::string name, std::string description, ToolPermission permission,
                          const Properties& properties = {}, const std::vector<std::string>& required = {}) {
    return {std::move(name), std::move(description), JSONValue::schema(properties, required), permission, false};
}

void add(ToolRegistry& registry, ToolDefinition definition, NativeTool::Operation operation) {
    registry.registerTool(std::make_shared<NativeTool>(std::move(definition), std::move(operation)));
}

std::optional<std::string> optionalString(const JSONValue& input, std::string_view key) {
    const std::string* const text = input[key].string();
    return text ? std::optional(*text) : std::nullopt;
}

/// `number` without its fraction, brought into what a listing may have.
std::int64_t listingLimit(std::optional<double> number) {
    if (!number) return defaultListing;
    if (*number >= static_cast<double>(maximumListing)) return maximumListing;
    return *number >= 1 ? static_cast<std::int64_t>(*number) : 1;
}

/// The names and paths of applications are the file system's bytes; JSON has only text.
JSONValue found(ApplicationRecord application) {
    application.path = fileNameText(application.path);
    application.bundleIdentifier = fileNameText(application.bundleIdentifier);
    return application.toJSON();
}

void registerApplications(ToolRegistry& registry, const std::shared_ptr<ApplicationService>& applications) {
    const auto search = [applications](JSONValue input) -> Task<JSONValue> {
        Array all;
        for (const ApplicationRecord& application : applications->search(input.requiredString("query"))) {
            if (all.size() == maximumApplications) break;
            all.push_back(found(application));
        }
        co_return all;
    };
    const auto open = [applications](JSONValue input) -> Task<JSONValue> {
        co_await applications->openListed(fileNameBytes(input.requiredString("path")));
        co_return Object{{"opened", true}};
    };
    add(registry,
        definition("application.search", "Search installed macOS applications", ToolPermission::read,
                   {{"query", "Application name"}}, {"query"}),
        search);
    add(registry,
        definition("application.open", "Launch an installed application by its bundle path", ToolPermission::write,
                   {{"path", "Absolute .app bundle path"}}, {"path"}),
        open);
}

void registerFileIndex(ToolRegistry& registry, const NativeToolServices& services) {
    const auto search = [index = services.fileIndex](JSONValue input) -> Task<JSONValue> {
        const auto files = co_await index->search(input.requiredString("query"), optionalString(input, "directory"));
        Array all;
        for (const FileRecord& file : files) {
            all.push_back(Object{
                {"name", file.name}, {"path", file.path}, {"isDirectory", file.isDirectory}, {"size", file.size}});
        }
        co_return all;
    };
    const auto list = [index = services.indexedFiles, home = services.home](JSONValue input) -> Task<JSONValue> {
        const auto files =
            co_await index.list(optionalString(input, "directory").value_or(home),
                                optionalString(input, "sort").value_or("size"), listingLimit(input["limit"].number()));
        co_return encodeJSON(files);
    };
    add(registry,
        definition("filesystem.search", "Search indexed local filenames, optionally inside a directory",
                   ToolPermission::read,
                   {{"query", "Filename search term"}, {"directory", "Optional directory, supports ~"}}, {"query"}),
        search);
    add(registry,
        definition("filesystem.list", "List a directory's entries from the local index, sorted by size, date or name",
                   ToolPermission::read,
                   {{"directory", "Directory path, defaults to the home folder, supports ~"},
                    {"sort", "size, modified or name"},
                    {"limit", "Maximum results, default 20, at most 100"}}),
        list);
}

void registerFiles(ToolRegistry& registry, const std::shared_ptr<FileService>& files) {
    const auto open = [files](JSONValue input) -> Task<JSONValue> {
        co_await files->open(input.requiredString("path"));
        co_return Object{{"opened", true}};
    };
    const auto reveal = [files](JSONValue input) -> Task<JSONValue> {
        co_await files->reveal(input.requiredString("path"));
        co_return Object{{"revealed", true}};
    };
    const Properties path{{"path", "Local file path"}};
    add(registry,
        definition("filesystem.open", "Open a local file using its default application", ToolPermission::write, path,
                   {"path"}),
        open);
    add(registry, definition("filesystem.reveal", "Show a local file in Finder", ToolPermission::write, path, {"path"}),
        reveal);
}

void registerClipboard(ToolRegistry& registry, Pasteboard& pasteboard) {
    const auto read = [&pasteboard](JSONValue) -> Task<JSONValue> {
        // A longer text comes cut off further on, and is then too large an answer.
        auto text = co_await pasteboard.string(std::string(pasteboardType::text), AIRuntime::maximumOutputBytes);
        co_return Object{{"text", std::move(text).value_or("")}};
    };
    const auto write = [&pasteboard](JSONValue input) -> Task<JSONValue> {
        if (!pasteboard.setText(input.requiredString("text"))) {
            throw AppError::recoverable("Could not update the clipboard.");
        }
        co_return Object{{"copied", true}};
    };
    ToolDefinition reading =
        definition("clipboard.read", "Read current text from the system clipboard; may contain sensitive user data",
                   ToolPermission::read);
    reading.requiresApproval = true;
    add(registry, std::move(reading), read);
    add(registry,
        definition("clipboard.write", "Replace system clipboard text", ToolPermission::write,
                   {{"text", "Text to copy"}}, {"text"}),
        write);
}

void registerSystem(ToolRegistry& registry, const std::shared_ptr<SystemService>& system) {
    const auto lock = [system](JSONValue) -> Task<JSONValue> {
        co_await system->lockScreen();
        co_return Object{{"requested", true}};
    };
    add(registry, definition("system.lock", "Lock the macOS screen", ToolPermission::write), lock);
}

void registerShortcuts(ToolRegistry& registry, const std::shared_ptr<ShortcutsService>& shortcuts) {
    const auto list = [shortcuts](JSONValue) -> Task<JSONValue> {
        Array names;
        for (const ShortcutItem& shortcut : shortcuts->shortcuts())
            names.emplace_back(shortcut.name);
        co_return names;
    };
    const auto run = [shortcuts](JSONValue input) -> Task<JSONValue> {
        co_await shortcuts->run(input.requiredString("name"));
        co_return Object{{"ran", true}};
    };
    add(registry, definition("shortcuts.list", "List the user's macOS Shortcuts by name", ToolPermission::read), list);
    add(registry,
        definition("shortcuts.run", "Run one of the user's macOS Shortcuts by exact name", ToolPermission::write,
                   {{"name", "Exact shortcut name"}}, {"name"}),
        run);
}

}  // namespace

Task<ToolResult> NativeTool::execute(JSONValue input) {
    VELMORA_ASSERT_MAIN();
    JSONValue value = co_await operation_(std::move(input));
    co_return ToolResult{std::move(value)};
}

void registerNativeTools(ToolRegistry& registry, const NativeToolServices& services) {
    registerApplications(registry, services.applications);
    registerFileIndex(registry, services);
    registerFiles(registry, services.files);
    registerClipboard(registry, services.pasteboard);
    registerSystem(registry, services.system);
    registerShortcuts(registry, services.shortcuts);
}

}  // namespace velmora
