#pragma once

#include "app/services/ResultSource.h"
#include "app/storage/AppLaunchRepository.h"
#include "app/storage/QuicklinkRepository.h"
#include "core/async/Signal.h"
#include "core/commands/CommandRegistry.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmora {

class AppServices;

/// The state machine behind the palette: what is typed, which mode it is in, what is listed and selected, which menu is
/// open.
///
/// Keys and clicks arrive as calls, the views read the fields and redraw on `changed`. Calls return at once; what takes
/// time runs in tasks, of which a search is cancelled by the next one and whose late answers are dropped.
///
/// Runs on: the main thread. Owns: the command registry. Fails with: nothing; failures become `error()`.
class PaletteState : public std::enable_shared_from_this<PaletteState> {
  public:
    enum class Mode { commands, files, clipboard, ai };

    /// The mode's display title: "Commands", "Search Files", "Clipboard History", "Ask AI".
    static std::string_view title(Mode mode);

    /// The most ranked rows shown; a calculator row comes on top of them.
    static constexpr std::size_t maximumResults = 60;

    explicit PaletteState(std::shared_ptr<AppServices> services);
    PaletteState(const PaletteState&) = delete;
    PaletteState& operator=(const PaletteState&) = delete;

    /// Registers the built-in commands, loads usage and the applications, and lists everything. Works once.
    [[nodiscard]] Task<> start();

    // What the views read.
    [[nodiscard]] Mode mode() const { return mode_; }
    [[nodiscard]] const std::string& query() const { return query_; }
    [[nodiscard]] const std::vector<ResultPointer>& results() const { return results_; }
    [[nodiscard]] std::ptrdiff_t selection() const { return selection_; }
    [[nodiscard]] const std::optional<std::string>& error() const { return error_; }
    [[nodiscard]] bool showsPreview() const { return showsPreview_; }
    [[nodiscard]] bool showsActions() const { return showsActions_; }
    [[nodiscard]] std::ptrdiff_t actionSelection() const { return actionSelection_; }
    [[nodiscard]] bool searching() const { return searching_; }
    [[nodiscard]] bool busy() const { return busy_; }
    /// The application whose launch arguments are being typed: present in the argument mode.
    [[nodiscard]] const ResultPointer& argumentTarget() const { return argumentTarget_; }
    /// The folder that the files mode searches; none: every indexed folder.
    [[nodiscard]] const std::optional<std::string>& fileDirectory() const { return fileDirectory_; }
    /// The selected row, if there is one.
    [[nodiscard]] ResultPointer selectedResult() const;
    /// The text of the empty input field.
    [[nodiscard]] std::string placeholder() const;
    /// What the AI mode shows before any answer.
    [[nodiscard]] std::string aiIntroduction() const;

    /// Called after every change of one or more fields.
    [[nodiscard]] Subscription onChange(std::function<void()> callback) {
        return changed_.subscribe(std::move(callback));
    }

    /// The commands of the commands mode; call `search` after changing them.
    [[nodiscard]] CommandRegistry& registry() { return registry_; }

    // What the user does.
    void setQuery(std::string query);
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
    void enter(Mode mode);
    void beginArguments();
    void toggleActions();
    void togglePreview();
    /// Cancels the pending search.
    void cancelWork();
    /// Rescans the applications in the background.
    void refreshApplications();
    /// Loads the quicklinks and lists them. Fails with `AppError` (database).
    [[nodiscard]] Task<> reloadQuicklinks();
    /// The same in the background.
    void refreshQuicklinks();
    /// Lists the shortcuts again in the background, unless that was done a moment ago.
    void refreshShortcuts();
    /// Shows a failure as the error line.
    void showError(std::string sentence);

    /// Hides the palette; set by the window.
    std::function<void()> hide = [] {};

  private:
    class Changes;

    void registerBuiltInCommands();
    void registerCommand(CommandResult result);
    /// Replaces a group of commands and lists afresh with the same row selected. False when the group cannot be taken.
    bool replaceGroup(std::string_view prefix, std::vector<std::shared_ptr<const Command>> commands);
    void updateApplicationCommands();
    void reloadShortcutCommands();
    [[nodiscard]] std::optional<CommandResult> calculatorResult() const;
    void searchCommands();
    void searchArguments();
    void searchLater();
    [[nodiscard]] std::shared_ptr<ResultSource> sourceFor(Mode mode) const;
    [[nodiscard]] Task<> answer(std::string query, Mode mode);
    void showResults(std::vector<ResultPointer> results);
    [[nodiscard]] ResultPointer argumentResult(const AppLaunchRecord& record) const;
    [[nodiscard]] std::optional<CommandAction> chosenAction() const;
    void executeArguments(std::optional<CommandAction> action);
    [[nodiscard]] Task<> run(ResultPointer result, CommandAction action);
    [[nodiscard]] Task<> recordUse(std::string id);
    void launchWithArguments(std::string arguments);
    [[nodiscard]] Task<> launch(std::string id, std::string arguments);
    [[nodiscard]] Task<> loadRecents(ResultPointer target);
    void askAI();

    template <class T>
    void set(T& field, T value);

    std::shared_ptr<AppServices> services_;
    CommandRegistry registry_;
    UsageMap usages_;
    Signal<> changed_;
    int changeDepth_ = 0;
    bool dirty_ = false;

    bool started_ = false;
    Mode mode_ = Mode::commands;
    std::string query_;
    std::vector<ResultPointer> results_;
    std::ptrdiff_t selection_ = 0;
    std::optional<std::string> error_;
    bool showsPreview_ = false;
    bool showsActions_ = false;
    std::ptrdiff_t actionSelection_ = 0;
    bool searching_ = false;
    bool busy_ = false;
    ResultPointer argumentTarget_;
    std::vector<AppLaunchRecord> argumentRecents_;
    std::optional<std::string> fileDirectory_;
    TaskHandle queryTask_;
    Subscription applicationChanges_;
    Subscription shortcutChanges_;
    std::vector<std::shared_ptr<const Command>> applicationCommands_;
    std::vector<Quicklink> quicklinks_;
    std::vector<std::string> shortcutNames_;
};

}  // namespace velmora
