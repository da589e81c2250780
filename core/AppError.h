#pragma once

#include <exception>
#include <string>
#include <utility>

namespace velmora {

/// A failure whose words are meant for the user: one complete sentence, shown as it stands.
///
/// Layers that want their words shown throw this; every other exception is shown as one generic sentence.
class AppError final : public std::exception {
  public:
    /// Where the failure arose. For callers and logs; never shown.
    enum class Kind {
        recoverable,    ///< the user can try again
        permission,     ///< a refused approval or a missing system permission
        network,        ///< talking to the AI provider
        configuration,  ///< invalid identifiers, settings or definitions
        toolExecution,  ///< a tool call
        database,       ///< local storage
        mcp,            ///< talking to an MCP server
    };

    AppError(Kind kind, std::string sentence) : kind_(kind), sentence_(std::move(sentence)) {}

    static AppError recoverable(std::string sentence) { return {Kind::recoverable, std::move(sentence)}; }
    static AppError permission(std::string sentence) { return {Kind::permission, std::move(sentence)}; }
    static AppError network(std::string sentence) { return {Kind::network, std::move(sentence)}; }
    static AppError configuration(std::string sentence) { return {Kind::configuration, std::move(sentence)}; }
    static AppError toolExecution(std::string sentence) { return {Kind::toolExecution, std::move(sentence)}; }
    static AppError database(std::string sentence) { return {Kind::database, std::move(sentence)}; }
    static AppError mcp(std::string sentence) { return {Kind::mcp, std::move(sentence)}; }

    [[nodiscard]] Kind kind() const noexcept { return kind_; }
    [[nodiscard]] const char* what() const noexcept override { return sentence_.c_str(); }

    /// The text to show for any failure: "Operation cancelled." for a cancellation, an `AppError`'s own sentence, and
    /// one generic sentence for everything else.
    static std::string friendly(const std::exception_ptr& failure);

  private:
    Kind kind_;
    std::string sentence_;
};

}  // namespace velmora
