#pragma once

#include "app/services/ResultSource.h"
#include "platform/Alerts.h"
#include "platform/FolderPanel.h"
#include "platform/PopUpMenu.h"
#include "tests/fakes/FakePasteboard.h"
#include "tests/fakes/ManualClock.h"

#include <deque>
#include <optional>
#include <stdexcept>

namespace velmora::test {

/// A menu in which the user always makes the same choice, and a folder panel that is always dismissed.
class FakeMenu final : public PopUpMenu {
  public:
    [[nodiscard]] Task<std::optional<std::size_t>> choose(std::vector<std::string> titles) override {
        shown.push_back(titles);
        co_return choice;
    }

    std::optional<std::size_t> choice;
    std::vector<std::vector<std::string>> shown;
};

class FakeFolderPanel final : public FolderPanel {
  public:
    [[nodiscard]] Task<std::optional<std::string>> chooseFolder(FolderPanelRequest) override { co_return std::nullopt; }
};

/// Answers questions as told, and remembers them. A question without an answer waits for `clock` to come round.
class FakeAlerts final : public Alerts {
  public:
    explicit FakeAlerts(ManualClock& clock) : clock_(clock) {}

    [[nodiscard]] Task<bool> confirm(Confirmation confirmation) override {
        asked.push_back(confirmation.title + "|" + confirmation.detail);
        left = confirmation.rest;
        while (answers.empty())
            co_await clock_.sleep(std::chrono::seconds(1));
        const bool answer = answers.front();
        answers.pop_front();
        co_return answer;
    }

    [[nodiscard]] Task<> showFailure(std::string title, std::string detail) override {
        asked.push_back(title + "|" + detail);
        co_return;
    }

    std::deque<bool> answers;
    std::vector<std::string> asked;
    std::string left;  ///< what the last detail left out

  private:
    ManualClock& clock_;
};

/// A source that finds what it is asked for, as often as told. It can fail, and answer when it is told to.
class FakeSource final : public ResultSource {
  public:
    [[nodiscard]] Task<std::vector<ResultPointer>> search(std::string query,
                                                          std::optional<std::string> directory) override {
        searches.push_back(query + (directory ? "@" + *directory : ""));
        // An answer that is already on its way does not notice that nobody wants it any more.
        if (ignoresCancellation) {
            const auto hold = [this](const Completion<>& answer) { late.push_back(answer); };
            const auto ignore = [] {};
            co_await Completion<>::await(hold, ignore);
        }
        if (fails) throw std::runtime_error("the disk is on fire");
        CommandResult result;
        result.title = query;
        result.previewText = query;
        if (whole) {
            result.wholePreview = [this]() -> Task<std::optional<std::string>> {
                const auto hold = [this](const Completion<>& answer) { late.push_back(answer); };
                const auto ignore = [] {};
                co_await Completion<>::await(hold, ignore);
                co_return whole;
            };
        }
        std::vector<ResultPointer> found;
        for (std::size_t i = 0; i < count; ++i) {
            result.id = result.icon.value = "/found/" + std::to_string(i);
            result.icon.kind = CommandIcon::Kind::file;
            found.push_back(std::make_shared<const CommandResult>(result));
        }
        co_return found;
    }

    std::size_t count = 1;
    bool fails = false;
    bool ignoresCancellation = false;
    std::optional<std::string> whole;  ///< of every preview, which then answers when it is told to
    std::vector<Completion<>> late;
    std::vector<std::string> searches;
};

}  // namespace velmora::test
