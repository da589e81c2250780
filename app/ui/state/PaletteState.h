#pragma once

#include "app/services/ResultSource.h"
#include "app/ui/state/ActionRunner.h"
#include "app/ui/state/ArgumentEntry.h"
#include "app/ui/state/AssistantState.h"
#include "app/ui/state/CommandGroups.h"
#include "app/ui/state/PaletteFeedback.h"
#include "app/ui/state/PaletteMode.h"
#include "app/ui/state/PreviewReader.h"
#include "core/commands/CommandRegistry.h"

#include <memory>

namespace velmora {

class AppServices;

/// The state machine behind the palette: what is typed, which mode it is in, what is listed and selected, which menu is
/// open, and what the keys mean for that.
///
/// Keys and clicks arrive as calls and return at once; what takes time runs in tasks. A search is cancelled by the next
/// one, and an answer that was under way by then is dropped. Views draw what `PaletteScreen` makes of the fields.
///
/// Runs on: the main thread. Owns: the command registry. Fails with: nothing; failures become `error()`.
class PaletteState : public std::enable_shared_from_this<PaletteState> {
  public:
    using Mode = PaletteMode;

    /// The most ranked rows shown; a calculator row comes on top of them.
    static constexpr std::size_t maximumResults = 60;
    /// The longest text that can be typed, in UTF-16 units, as the input field counts.
    static constexpr int maximumQuery = 100'000;

    explicit PaletteState(std::shared_ptr<AppServices> services);
    PaletteState(const PaletteState&) = delete;
    PaletteState& operator=(const PaletteState&) = delete;

    /// Registers the built-in commands, loads usage and the applications, and lists everything. Works once.
    [[nodiscard]] Task<> start();
    /// Ends a start that is under way and the pending work, for good.
    void stop();

    [[nodiscard]] Mode mode() const { return mode_; }
    [[nodiscard]] const std::string& query() const { return query_; }
    [[nodiscard]] const std::vector<ResultPointer>& results() const { return results_; }
    [[nodiscard]] std::ptrdiff_t selection() const { return selection_; }
    [[nodiscard]] const std::optional<std::string>& error() const { return feedback_->error(); }
    /// What went wrong while nobody looked, until the palette has been shown with it; empty: nothing.
    [[nodiscard]] std::string notice() const { return feedback_->notice(); }
    [[nodiscard]] bool showsPreview() const { return showsPreview_; }
    [[nodiscard]] bool showsActions() const { return showsActions_; }
    [[nodiscard]] std::ptrdiff_t actionSelection() const { return actionSelection_; }
    [[nodiscard]] bool searching() const { return searching_; }
    [[nodiscard]] bool busy() const { return runner_->busy(); }
    /// What has been running for more than a moment; empty: nothing.
    [[nodiscard]] const std::string& running() const { return runner_->running(); }
    /// The application whose launch arguments are being typed, in the argument mode.
    [[nodiscard]] const ResultPointer& argumentTarget() const { return arguments_->target(); }
    /// The folder that the files mode searches; none: every indexed folder.
    [[nodiscard]] const std::optional<std::string>& fileDirectory() const { return fileDirectory_; }
    [[nodiscard]] const AssistantState& assistant() const { return *assistant_; }
    /// The selected row, if there is one.
    [[nodiscard]] ResultPointer selectedResult() const;
    /// The whole text of the preview that is shown, once it is there; none where the result's own is the whole.
    [[nodiscard]] const std::shared_ptr<const std::string>& wholePreview() const { return preview_->whole(); }

    /// Called after every change of one or more fields.
    [[nodiscard]] Subscription onChange(std::function<void()> call) { return feedback_->onChange(std::move(call)); }
    /// Called when the palette is to be hidden.
    [[nodiscard]] Subscription onHide(std::function<void()> call) { return feedback_->onHide(std::move(call)); }

    /// The commands of the commands mode; call `search` after changing them.
    [[nodiscard]] CommandRegistry& registry() { return *registry_; }
    [[nodiscard]] CommandGroups& groups() { return *groups_; }

    // What the user does.
    void setQuery(std::string query);
    /// Says that a text was too long to be taken.
    void refuseLongQuery();
    void setSelection(std::ptrdiff_t selection);
    void setFileDirectory(std::optional<std::string> directory);
    /// Lets the user choose the folder that the files mode searches.
    void chooseFileDirectory();
    /// Lists afresh what the query finds in the present mode.
    void search();
    /// Moves the selection, or that of the open actions menu, by `step` rows and around the ends.
    void move(std::ptrdiff_t step);
    /// Runs `action`, or the one that Return means in the present state.
    void execute(std::optional<CommandAction> action = std::nullopt);
    /// Closes the innermost open thing, in the end the palette.
    void escape();
    /// Begins afresh in `mode`; in the AI mode with `agent`, or with the default assistant.
    void enter(Mode mode, std::optional<Agent> agent = std::nullopt);
    void beginArguments();
    void toggleActions();
    void togglePreview();
    /// Cancels the pending search and the request to the assistant.
    void cancelWork();
    /// The palette has been shown and is hidden now: cancels what is pending and lets go of what was found and answered,
    /// and of the notices, which have been seen.
    void rest();
    /// Shows a failure as the error line.
    void showError(std::string sentence) { feedback_->showError(std::move(sentence)); }

  private:
    [[nodiscard]] std::vector<ResultPointer> ranked();
    void cancelSearch();
    void searchLater(std::shared_ptr<ResultSource> source);
    [[nodiscard]] Task<> answer(std::shared_ptr<ResultSource> source, int generation);
    void showResults(std::vector<ResultPointer> results);
    void listAgain();
    void followPreview();
    [[nodiscard]] std::optional<CommandAction> chosenAction() const;

    std::shared_ptr<AppServices> services_;
    std::shared_ptr<PaletteFeedback> feedback_;
    std::shared_ptr<CommandRegistry> registry_;
    std::shared_ptr<CommandGroups> groups_;
    std::shared_ptr<ActionRunner> runner_;
    std::shared_ptr<ArgumentEntry> arguments_;
    std::shared_ptr<PreviewReader> preview_;
    std::shared_ptr<AssistantState> assistant_;
    std::vector<Subscription> subscriptions_;
    std::string clipboardNotice_;

    bool started_ = false;
    bool stopped_ = false;
    Mode mode_ = Mode::commands;
    std::string query_;
    std::vector<ResultPointer> results_;
    std::ptrdiff_t selection_ = 0;
    bool showsPreview_ = false;
    bool showsActions_ = false;
    std::ptrdiff_t actionSelection_ = 0;
    bool searching_ = false;
    std::optional<std::string> fileDirectory_;
    TaskHandle queryTask_;
    int generation_ = 0;  // of the search: an answer to an earlier one is dropped
};

}  // namespace velmora
