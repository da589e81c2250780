#pragma once

#include "core/async/Async.h"
#include "core/json/JSONRecord.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velmora {

/// What a tool does to the user's things.
enum class ToolPermission {
    read,         ///< changes nothing
    write,        ///< changes something or starts something
    destructive,  ///< cannot be undone
};

/// "read", "write" or "destructive", the form in which a permission is written.
std::string_view rawValue(ToolPermission permission);

/// The permission with that raw value; nothing for any other text, letter case included.
std::optional<ToolPermission> toolPermission(std::string_view rawValue);

/// Which tools may run without asking.
struct PermissionPolicy {
    bool confirmWrites = true;

    [[nodiscard]] bool requiresConfirmation(ToolPermission permission) const;
};

/// What is known of a tool before it runs.
struct ToolDefinition {
    std::string name;         ///< unique: "application.search"
    std::string description;  ///< for the model, and for the user who is asked to allow a call
    JSONValue inputSchema;    ///< a JSON Schema object
    ToolPermission permission = ToolPermission::destructive;
    bool requiresApproval = true;  ///< the user is asked before every call, whatever the policy

    bool operator==(const ToolDefinition&) const = default;

    /// An object with the fields' names.
    [[nodiscard]] JSONValue toJSON() const;

    /// Every member must be there; fails with `JSONError`.
    static ToolDefinition fromJSON(const JSONValue& value);
};

/// What a tool answers.
struct ToolResult {
    JSONValue value;
};

/// An operation that the model may ask for. Its definition never changes.
///
/// Runs on: the main thread; what takes time suspends. Fails with: `AppError`.
class Tool {
  public:
    virtual ~Tool() = default;

    [[nodiscard]] virtual const ToolDefinition& definition() const = 0;

    /// The tool lives until the task has ended.
    [[nodiscard]] virtual Task<ToolResult> execute(JSONValue input) = 0;
};

/// Every tool there is, and the only way to call one: nothing runs that its definition and the policy want approved
/// before the user has approved it with the very input it then gets.
///
/// Runs on: the main thread. Must outlive the calls. Fails with: `AppError`, leaving the registry as it was.
class ToolRegistry {
  public:
    using ToolPointer = std::shared_ptr<Tool>;
    /// Asks the user to allow a call. Returns when it is allowed; fails with what the caller shall see when it is not.
    using Approve = std::function<Task<>(ToolDefinition definition, JSONValue input)>;

    explicit ToolRegistry(Approve approve) : approve_(std::move(approve)) {}
    ToolRegistry(const ToolRegistry&) = delete;
    ToolRegistry& operator=(const ToolRegistry&) = delete;

    /// Fails (configuration) with "A tool with this name is already registered."
    void registerTool(ToolPointer tool);

    /// Removes the tools whose names begin with `prefix`. Calls that have begun go on.
    void remove(std::string_view prefix);

    /// In the order of the names' bytes.
    [[nodiscard]] std::vector<ToolDefinition> definitions() const;

    /// Checks the input, asks for approval where it is needed, and runs the tool. Fails (toolExecution) with "This tool
    /// is not available.", "Tool input must be a JSON object." and "Required tool input is missing."; otherwise with
    /// what the approval or the tool fails with.
    [[nodiscard]] Task<ToolResult> call(std::string name, JSONValue input);

    /// Looked at by each call when it decides whether to ask.
    PermissionPolicy policy;

  private:
    Approve approve_;
    std::map<std::string, ToolPointer, std::less<>> tools_;
};

}  // namespace velmora
