#pragma once

#include "platform/ApplicationBundles.h"

#include <fstream>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace velmora::test {

/// Applications are directories "*.app" and files "*.entry". A file of the bundle's path with ".info" appended says
/// what it is: name, identifier and "hidden", each on a line of its own, empty for absent.
class FakeBundles final : public ApplicationBundles {
  public:
    [[nodiscard]] std::vector<std::string> roots() const override { return folders; }

    [[nodiscard]] bool isApplicationName(std::string_view name, bool isDirectory) const override {
        return name.ends_with(isDirectory ? ".app" : ".entry");
    }

    [[nodiscard]] std::optional<BundleInformation> read(const std::string& path, const std::string&) const override {
        if (beforeReading) beforeReading(path);
        std::ifstream file(path + ".info", std::ios::binary);
        if (!file) return std::nullopt;
        std::string name, identifier, hidden;
        std::getline(file, name);
        std::getline(file, identifier);
        std::getline(file, hidden);
        const auto present = [](const std::string& text) { return text.empty() ? std::nullopt : std::optional(text); };
        return BundleInformation{present(name), present(identifier), hidden == "hidden"};
    }

    std::vector<std::string> folders;
    std::function<void(const std::string&)> beforeReading;
};

}  // namespace velmora::test
