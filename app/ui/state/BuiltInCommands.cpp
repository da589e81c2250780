#include "app/ui/state/BuiltInCommands.h"

#include "app/composition/AppServices.h"
#include "app/services/SystemService.h"
#include "core/AppError.h"
#include "core/commands/Calculator.h"
#include "platform/Pasteboard.h"

namespace velmora {
namespace {

/// A command whose one action has the command's own identifier and title.
CommandResult simpleCommand(std::string id, std::string title, std::string subtitle, std::string_view symbol,
                            std::function<Task<>()> execute) {
    CommandResult result;
    result.id = id;
    result.title = title;
    result.subtitle = std::move(subtitle);
    result.icon = CommandIcon::symbol(std::string(symbol));
    result.actions.push_back({std::move(id), std::move(title), std::nullopt, ActionRole::normal, std::move(execute)});
    return result;
}

struct FolderCommand {
    const char* id;
    const char* title;
    const char* symbol;
    const char* path;
};

constexpr FolderCommand folderCommands[] = {
    {"finder", "Open Finder", "folder", "~"},
    {"downloads", "Open Downloads", "arrow.down.circle", "~/Downloads"},
    {"applications", "Open Applications", "square.grid.2x2", "/Applications"},
};

struct SessionCommand {
    const char* id;
    const char* title;
    const char* symbol;
    ActionRole role;
    Task<> (SystemService::*execute)();
};

constexpr SessionCommand sessionCommands[] = {
    {"lock", "Lock Screen", "lock", ActionRole::write, &SystemService::lockScreen},
    {"sleep", "Sleep", "moon", ActionRole::write, &SystemService::sleep},
    {"trash", "Empty Trash", "trash", ActionRole::destructive, &SystemService::emptyTrash},
};

struct ModeCommand {
    const char* id;
    PaletteMode mode;
};

constexpr ModeCommand modeCommands[] = {
    {"files", PaletteMode::files},
    {"clipboard", PaletteMode::clipboard},
    {"ai", PaletteMode::ai},
};

}  // namespace

std::vector<std::shared_ptr<const Command>> BuiltInCommands::all(const std::shared_ptr<AppServices>& services,
                                                                 const std::function<void(PaletteMode)>& enter) {
    std::vector<std::shared_ptr<const Command>> commands;
    const auto add = [&](CommandResult result) {
        commands.push_back(std::make_shared<const StaticCommand>(std::move(result)));
    };
    for (const FolderCommand& folder : folderCommands) {
        add(simpleCommand(
            folder.id, folder.title, "System Command", folder.symbol,
            [system = services->system, path = std::string(folder.path)] { return system->openDirectory(path); }));
    }
    for (const SessionCommand& entry : sessionCommands) {
        CommandResult result =
            simpleCommand(entry.id, entry.title, "System Command", entry.symbol,
                          [system = services->system, execute = entry.execute] { return ((*system).*execute)(); });
        result.actions.front().role = entry.role;
        add(std::move(result));
    }
    for (const auto& [id, mode] : modeCommands) {
        const std::string title(textsOf(mode).title);
        CommandResult result =
            simpleCommand(id, title, "Open " + title, textsOf(mode).symbol, [enter, mode = mode]() -> Task<> {
                enter(mode);
                co_return;
            });
        result.keywords = {id};
        result.keepsOpen = true;
        add(std::move(result));
    }
    return commands;
}

ResultPointer BuiltInCommands::calculation(const std::shared_ptr<AppServices>& services, const std::string& query) {
    const auto value = Calculator::value(query);
    if (!value) return nullptr;
    CommandResult result;
    result.id = "calculator";
    result.title = Calculator::format(*value);
    result.subtitle = query;
    result.keywords = {"calculator"};
    result.icon = CommandIcon::symbol("equal.circle");
    result.keepsOpen = true;
    result.actions.push_back(
        {"copy", "Copy Result", std::nullopt, ActionRole::write, [services, text = result.title]() -> Task<> {
             if (!services->platform.pasteboard.setText(text)) {
                 throw AppError::recoverable("Could not update the clipboard.");
             }
             co_return;
         }});
    return std::make_shared<const CommandResult>(std::move(result));
}

}  // namespace velmora
