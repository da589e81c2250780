#pragma once

#include <string_view>

/// The program's log: the journal where there is one, standard error otherwise.
///
/// Messages are fixed texts whose only variable parts are numbers and, for the file index, the path of a root. What the
/// user typed, copied or stores is never logged. Runs on: any thread.
namespace velmora::AppLog {

/// One category of messages.
class Channel {
  public:
    explicit constexpr Channel(const char* category) : category_(category) {}

    void info(std::string_view message) const;
    void error(std::string_view message) const;

  private:
    const char* category_;
};

inline constexpr Channel app{"app"};
inline constexpr Channel command{"command"};
inline constexpr Channel search{"search"};
inline constexpr Channel mcp{"mcp"};
inline constexpr Channel database{"database"};

}  // namespace velmora::AppLog
