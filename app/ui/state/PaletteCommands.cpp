// The part of the palette's state that knows the built-in commands and builds the results that it owns itself.

#include "app/composition/AppServices.h"
#include "app/services/SystemService.h"
#include "app/ui/state/PaletteStateChanges.h"
#include "core/AppError.h"
#include "core/commands/Calculator.h"
#include "core/text/Text.h"
#include "platform/Pasteboard.h"

namespace velmora {
namespace {

/// A command whose one action has the command's own identifier and title.
CommandResult simpleCommand(std::string id, std::string title, std::string subtitle, std::vector<std::string> keywords,
                            std::string symbol, bool keepsOpen, std::function<Task<>()> execute) {
    CommandResult result;
    result.id = id;
    result.title = title;
    result.subtitle = std::move(subtitle);
    result.keywords = std::move(keywords);
    result.icon = CommandIcon::symbol(std::move(symbol));
    result.keepsOpen = keepsOpen;
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
    const char* symbol;
    PaletteState::Mode mode;
};

constexpr ModeCommand modeCommands[] = {
    {"files", "doc.text.magnifyingglass", PaletteState::Mode::files},
    {"clipboard", "clipboard", PaletteState::Mode::clipboard},
    {"ai", "sparkles", PaletteState::Mode::ai},
};

}  // namespace

void PaletteState::registerCommand(CommandResult result) {
    registry_.registerCommand(std::make_shared<StaticCommand>(std::move(result)));
}

void PaletteState::registerBuiltInCommands() {
    for (const FolderCommand& folder : folderCommands) {
        registerCommand(simpleCommand(
            folder.id, folder.title, "System Command", {}, folder.symbol, false,
            [system = services_->system, path = std::string(folder.path)] { return system->openDirectory(path); }));
    }
    for (const SessionCommand& entry : sessionCommands) {
        CommandResult result =
            simpleCommand(entry.id, entry.title, "System Command", {}, entry.symbol, false,
                          [system = services_->system, execute = entry.execute] { return ((*system).*execute)(); });
        result.actions.front().role = entry.role;
        registerCommand(std::move(result));
    }
    for (const ModeCommand& entry : modeCommands) {
        const std::string name(title(entry.mode));
        registerCommand(simpleCommand(entry.id, name, "Open " + name, {entry.id}, entry.symbol, true,
                                      [weak = weak_from_this(), mode = entry.mode]() -> Task<> {
                                          if (const auto state = weak.lock()) state->enter(mode);
                                          co_return;
                                      }));
    }
}

std::optional<CommandResult> PaletteState::calculatorResult() const {
    const auto value = Calculator::value(query_);
    if (!value) return std::nullopt;
    CommandResult result;
    result.id = "calculator";
    result.title = Calculator::format(*value);
    result.subtitle = query_;
    result.keywords = {"calculator"};
    result.icon = CommandIcon::symbol("equal.circle");
    result.keepsOpen = true;
    result.actions.push_back({"copy", "Copy Result", std::nullopt, ActionRole::write,
                              [services = services_, text = result.title]() -> Task<> {
                                  if (!services->platform.pasteboard.setText(text)) {
                                      throw AppError::recoverable("Could not update the clipboard.");
                                  }
                                  co_return;
                              }});
    return result;
}

ResultPointer PaletteState::argumentResult(const AppLaunchRecord& record) const {
    const TimePoint now = services_->platform.clock.now();
    auto result = std::make_shared<CommandResult>();
    result->id = "args:" + record.appPath + '\x1F' + record.arguments;
    result->title = record.arguments;
    result->subtitle = "Used " + std::to_string(record.count) + "× · " + text::relativeTime(record.lastUsed, now);
    result->icon = CommandIcon::symbol("clock.arrow.circlepath");
    result->actions.push_back({"run", "Launch With Arguments", "↵", ActionRole::normal,
                               [weak = std::weak_ptr(std::const_pointer_cast<PaletteState>(shared_from_this())),
                                arguments = record.arguments]() -> Task<> {
                                   if (const auto state = weak.lock()) state->launchWithArguments(arguments);
                                   co_return;
                               }});
    return result;
}

}  // namespace velmora
