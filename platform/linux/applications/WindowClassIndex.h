#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmora {

/// Which application a window belongs to, by what the window says of itself and what the desktop entries say.
///
/// An entry's StartupWMClass counts first, then its desktop id, then the last part of an id in reverse-domain form.
/// Letter case does not matter: hardly a program gets it right.
class WindowClassIndex {
  public:
    /// `id` is the desktop id without ".desktop". Of several applications with one name the first added counts.
    void add(std::string_view id, std::string_view startupWMClass);

    /// The id for the first of a window's `classes` that is known.
    [[nodiscard]] std::optional<std::string> find(const std::vector<std::string>& classes) const;

  private:
    std::map<std::string, std::string, std::less<>> byStartupClass_;
    std::map<std::string, std::string, std::less<>> byId_;
    std::map<std::string, std::string, std::less<>> byLastPart_;
};

}  // namespace velmora
