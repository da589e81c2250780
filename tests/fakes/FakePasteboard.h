#pragma once

#include "platform/FrontmostApplication.h"
#include "platform/Pasteboard.h"
#include "tests/fakes/ManualClock.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace velmora::test {

/// A clipboard that can refuse to be written, and whose owner can refuse to be read, answer late or change its mind.
class FakePasteboard final : public Pasteboard {
  public:
    FakePasteboard() = default;
    /// Answers late by this clock.
    explicit FakePasteboard(ManualClock& clock) : clock_(&clock) {}

    [[nodiscard]] std::int64_t changeCount() const override { return count; }

    [[nodiscard]] Task<std::vector<std::string>> types() override {
        const auto offered = contents;
        co_await answer();
        std::vector<std::string> names;
        for (const auto& [type, value] : offered)
            names.push_back(type);
        co_return names;
    }

    [[nodiscard]] Task<std::optional<std::string>> string(std::string type, std::size_t maximumBytes) override {
        read.push_back(type);
        co_await answer();
        const auto found = contents.find(type);
        if (found == contents.end() || !found->second) co_return std::nullopt;
        co_return found->second->substr(0, maximumBytes + 1);
    }

    [[nodiscard]] bool setText(const std::string& value) override {
        if (refuses) return false;
        text = value;
        copy({{std::string(pasteboardType::text), value}});
        return true;
    }

    /// Contents by their types; a type without a value is offered and then refused.
    using Contents = std::map<std::string, std::optional<std::string>, std::less<>>;

    /// What another program does.
    void copy(Contents offered) {
        contents = std::move(offered);
        ++count;
    }
    void copyText(const std::string& value) { copy({{std::string(pasteboardType::text), value}}); }

    bool refuses = false;
    std::chrono::milliseconds delay{0};
    std::optional<std::string> text;
    Contents contents;
    std::vector<std::string> read;  ///< the types that were asked for
    std::int64_t count = 7;

  private:
    [[nodiscard]] Task<> answer() {
        if (clock_ && delay.count() > 0) co_await clock_->sleep(delay);
    }

    ManualClock* clock_ = nullptr;
};

/// Knows no application to be in front.
class FakeFrontmostApplication final : public FrontmostApplication {
  public:
    [[nodiscard]] Task<std::optional<std::string>> bundleIdentifier() override { co_return std::nullopt; }
};

}  // namespace velmora::test
