#pragma once

#include "core/async/Async.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velmora {

/// What running an action does to the user's things; the permission service asks before `destructive` ones.
enum class ActionRole {
    normal,       ///< opens or shows something
    write,        ///< changes the system's state
    destructive,  ///< cannot be undone
};

/// "normal", "write" or "destructive", the form in which a role is stored.
std::string_view rawValue(ActionRole role);

/// The role with that raw value; nothing for any other text, letter case included.
std::optional<ActionRole> actionRole(std::string_view rawValue);

/// The picture in front of a result.
struct CommandIcon {
    enum class Kind {
        symbol,  ///< `value` names a symbol image, such as "gearshape"
        file,    ///< `value` is the absolute path of the file whose icon is shown
    };

    Kind kind = Kind::symbol;
    std::string value;

    static CommandIcon symbol(std::string name) { return {Kind::symbol, std::move(name)}; }
    static CommandIcon file(std::string path) { return {Kind::file, std::move(path)}; }

    bool operator==(const CommandIcon&) const = default;
};

/// One thing that can be done with a result.
struct CommandAction {
    std::string id;  ///< unique within its result
    std::string title;
    std::optional<std::string> shortcut;  ///< label of the key that triggers it; for display only
    ActionRole role = ActionRole::normal;
    /// Does it. Runs on the main executor; a failure's words reach the user through `AppError::friendly`.
    std::function<Task<>()> execute;
};

/// One row of the palette.
struct CommandResult {
    std::string id;  ///< the stable identifier of the thing, under which its use is recorded
    std::string title;
    std::optional<std::string> subtitle;
    std::vector<std::string> keywords;  ///< further texts that match a query
    CommandIcon icon;
    std::vector<CommandAction> actions;      ///< the first is what Return runs; none: Return does nothing
    std::optional<std::string> previewText;  ///< what the preview pane shows, when there is something to show
    /// Reads the whole of it where `previewText` is only the beginning, which keeps lists small; else empty. Nothing:
    /// it is gone. Runs on the main executor.
    std::function<Task<std::optional<std::string>>()> wholePreview;
    bool keepsOpen = false;  ///< the palette stays after the default action
};

/// Results are built once and shared: between a command, the ranking and the list on screen. They never change.
using ResultPointer = std::shared_ptr<const CommandResult>;

/// What a command may know when it builds its result. Empty so far.
struct CommandContext {};

/// Something that can be registered.
///
/// Runs on: the main thread.
class Command {
  public:
    virtual ~Command() = default;

    /// Equal to the `id` of the result.
    [[nodiscard]] virtual const std::string& id() const = 0;

    /// The result to show. Asked for again on every query unless the command is constant; one that has not changed
    /// returns the same pointer.
    [[nodiscard]] virtual ResultPointer result(const CommandContext& context) const = 0;

    /// Whether the result is the same for ever, so that it need not be asked for on every keystroke.
    [[nodiscard]] virtual bool isConstant() const { return false; }
};

/// A command whose result never changes.
class StaticCommand : public Command {
  public:
    explicit StaticCommand(CommandResult value) : value_(std::make_shared<const CommandResult>(std::move(value))) {}

    [[nodiscard]] const CommandResult& value() const { return *value_; }
    [[nodiscard]] const std::string& id() const override { return value_->id; }
    [[nodiscard]] ResultPointer result(const CommandContext&) const override { return value_; }
    [[nodiscard]] bool isConstant() const override { return true; }

  private:
    ResultPointer value_;
};

}  // namespace velmora
