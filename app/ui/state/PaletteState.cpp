#include "app/ui/state/PaletteState.h"

#include "app/composition/AppServices.h"
#include "app/services/StorageHealth.h"
#include "app/services/applications/ApplicationService.h"
#include "app/services/clipboard/ClipboardService.h"
#include "app/services/files/FileService.h"
#include "app/ui/state/BuiltInCommands.h"
#include "core/text/Text.h"

#include <algorithm>

namespace velmora {
namespace {

using namespace std::chrono_literals;
using Gathering = PaletteFeedback::Gathering;

std::chrono::milliseconds debounce(PaletteMode mode) {
    return mode == PaletteMode::files ? 60ms : 180ms;
}

/// The number of items, as positions are counted.
std::ptrdiff_t countOf(const auto& list) {
    return static_cast<std::ptrdiff_t>(list.size());
}

}  // namespace

PaletteState::PaletteState(std::shared_ptr<AppServices> services)
    : services_(std::move(services)),
      feedback_(std::make_shared<PaletteFeedback>()),
      registry_(std::make_shared<CommandRegistry>()),
      groups_(std::make_shared<CommandGroups>(services_, registry_, feedback_)),
      runner_(std::make_shared<ActionRunner>(services_, feedback_)),
      arguments_(std::make_shared<ArgumentEntry>(services_, feedback_, runner_)),
      preview_(std::make_shared<PreviewReader>(services_->platform.main, feedback_)),
      assistant_(std::make_shared<AssistantState>(services_, feedback_, runner_)) {
    subscriptions_.push_back(groups_->onReplaced([this] { listAgain(); }));
    subscriptions_.push_back(arguments_->onLoaded([this] { search(); }));
    const auto notice = [this](const std::string& sentence) { feedback_->addNotice(sentence); };
    subscriptions_.push_back(services_->health->onFinding(notice));
    const auto onClipboardTrouble = [this](const std::optional<std::string>& failure) {
        const std::string prefix = "What was copied could not be stored. ";
        feedback_->removeNotice(clipboardNotice_);
        clipboardNotice_ = failure ? prefix + *failure : "";
        if (failure) feedback_->addNotice(clipboardNotice_);
    };
    subscriptions_.push_back(services_->clipboard->onTrouble(onClipboardTrouble));
}

Task<> PaletteState::start() {
    if (std::exchange(started_, true)) co_return;
    const auto self = shared_from_this();
    const auto enterMode = [weak = weak_from_this()](Mode mode) {
        if (const auto state = weak.lock()) state->enter(mode);
    };
    // What has been awaited may be there although the program is ending: then nothing more begins.
    try {
        for (auto& command : BuiltInCommands::all(services_, enterMode))
            registry_->registerCommand(std::move(command));
        groups_->follow();
        co_await groups_->reloadQuicklinks();
        co_await runner_->loadUsages();
        if (stopped_) co_return;
        services_->startWatching();
        search();
        co_await services_->applications->refresh();
        if (!stopped_) search();
    } catch (...) {
        if (!stopped_) feedback_->showFailure(std::current_exception());
    }
}

void PaletteState::stop() {
    stopped_ = true;
    cancelWork();
}

ResultPointer PaletteState::selectedResult() const {
    if (selection_ < 0 || selection_ >= countOf(results_)) return nullptr;
    return results_[static_cast<std::size_t>(selection_)];
}

// Searching.

void PaletteState::setQuery(std::string query) {
    const Gathering gathering(*feedback_);
    feedback_->set(query_, std::move(query));
    search();
}

void PaletteState::refuseLongQuery() {
    showError("This text is too long. Up to " + text::formattedCount(maximumQuery) +
              " characters can be typed or pasted here.");
}

void PaletteState::setSelection(std::ptrdiff_t selection) {
    const Gathering gathering(*feedback_);
    if (selection >= 0 && selection < countOf(results_)) feedback_->set(selection_, selection);
    followPreview();
}

void PaletteState::setFileDirectory(std::optional<std::string> directory) {
    const Gathering gathering(*feedback_);
    feedback_->set(fileDirectory_, std::move(directory));
    search();
}

void PaletteState::chooseFileDirectory() {
    spawn(services_->platform.main, [self = shared_from_this()]() -> Task<> {
        try {
            const std::optional<std::string> chosen = co_await self->services_->files->chooseDirectory();
            if (chosen) self->setFileDirectory(chosen);
        } catch (...) {
            self->feedback_->showFailure(std::current_exception());
        }
    });
}

void PaletteState::cancelWork() {
    const Gathering gathering(*feedback_);
    cancelSearch();
    assistant_->cancel();
}

void PaletteState::cancelSearch() {
    ++generation_;
    queryTask_.cancel();
    queryTask_ = {};
    feedback_->set(searching_, false);
}

void PaletteState::rest() {
    const Gathering gathering(*feedback_);
    cancelSearch();
    assistant_->begin(std::nullopt);
    feedback_->set(showsPreview_, false);
    showResults({});
    feedback_->clearNotices();
}

void PaletteState::search() {
    const Gathering gathering(*feedback_);
    cancelSearch();
    feedback_->clearError();
    feedback_->set(showsPreview_, false);
    if (argumentTarget()) {
        showResults(arguments_->rows(query_));
    } else if (mode_ == Mode::commands) {
        showResults(ranked());
    } else {
        showResults({});
        if (mode_ == Mode::files) searchLater(services_->fileSearch);
        if (mode_ == Mode::clipboard) searchLater(services_->clipboardSearch);
    }
}

void PaletteState::showResults(std::vector<ResultPointer> results) {
    feedback_->set(results_, std::move(results));
    feedback_->set(selection_, std::ptrdiff_t{0});
    feedback_->set(showsActions_, false);
    followPreview();
}

std::vector<ResultPointer> PaletteState::ranked() {
    std::vector<ResultPointer> results =
        registry_->ranked(query_, runner_->usages(), services_->platform.clock, maximumResults);
    if (auto calculation = BuiltInCommands::calculation(services_, query_))
        results.insert(results.begin(), std::move(calculation));
    return results;
}

void PaletteState::searchLater(std::shared_ptr<ResultSource> source) {
    feedback_->set(searching_, mode_ == Mode::clipboard || !query_.empty());
    queryTask_ =
        spawn(services_->platform.main, [self = shared_from_this(), source = std::move(source),
                                         generation = generation_] { return self->answer(source, generation); });
}

Task<> PaletteState::answer(std::shared_ptr<ResultSource> source, int generation) {
    std::vector<ResultPointer> found;
    std::exception_ptr failure;
    try {
        co_await services_->platform.clock.sleep(debounce(mode_));
        if (generation != generation_) co_return;
        const std::optional<std::string> directory = mode_ == Mode::files ? fileDirectory_ : std::nullopt;
        found = co_await source->search(query_, directory);
    } catch (...) {
        failure = std::current_exception();
    }
    // Withdrawing a question does not stop an answer that is already on its way here.
    if (generation != generation_) co_return;
    const Gathering gathering(*feedback_);
    feedback_->set(searching_, false);
    if (failure) {
        feedback_->showFailure(failure);
    } else {
        showResults(std::move(found));
    }
}

/// After a change of the commands: with the same row selected.
void PaletteState::listAgain() {
    if (mode_ != Mode::commands) return;
    const Gathering gathering(*feedback_);
    const ResultPointer selected = selectedResult();
    search();
    if (!selected) return;
    const auto again = std::ranges::find(results_, selected->id, &CommandResult::id);
    if (again != results_.end()) setSelection(again - results_.begin());
}

// Selecting and menus.

void PaletteState::move(std::ptrdiff_t step) {
    const ResultPointer selected = selectedResult();
    if (!selected) return;
    const std::ptrdiff_t rows = showsActions_ ? countOf(selected->actions) : countOf(results_);
    if (rows == 0) return;
    const Gathering gathering(*feedback_);
    std::ptrdiff_t& field = showsActions_ ? actionSelection_ : selection_;
    feedback_->set(field, ((field + step) % rows + rows) % rows);
    followPreview();
}

void PaletteState::toggleActions() {
    const Gathering gathering(*feedback_);
    const ResultPointer selected = selectedResult();
    if (!selected || selected->actions.empty()) return;
    feedback_->set(showsActions_, !showsActions_);
    feedback_->set(actionSelection_, std::ptrdiff_t{0});
    feedback_->set(showsPreview_, false);
    followPreview();
}

void PaletteState::togglePreview() {
    const Gathering gathering(*feedback_);
    const ResultPointer selected = selectedResult();
    if (!selected || !selected->previewText) return;
    feedback_->set(showsPreview_, !showsPreview_);
    feedback_->set(showsActions_, false);
    followPreview();
}

/// After whatever may change what is previewed.
void PaletteState::followPreview() {
    preview_->show(showsPreview_ ? selectedResult() : nullptr);
}

void PaletteState::escape() {
    const Gathering gathering(*feedback_);
    if (mode_ == Mode::ai && busy()) {
        assistant_->cancel();
    } else if (showsActions_) {
        feedback_->set(showsActions_, false);
    } else if (showsPreview_) {
        togglePreview();
    } else if (argumentTarget()) {
        const std::string title = argumentTarget()->title;
        arguments_->end();
        setQuery(title);
    } else if (mode_ != Mode::commands) {
        enter(Mode::commands);
    } else {
        feedback_->hide();
    }
}

void PaletteState::enter(Mode mode, std::optional<Agent> agent) {
    const Gathering gathering(*feedback_);
    feedback_->set(mode_, mode);
    assistant_->begin(std::move(agent));
    arguments_->end();
    setQuery({});
}

void PaletteState::beginArguments() {
    const Gathering gathering(*feedback_);
    if (argumentTarget() || mode_ != Mode::commands || showsActions_) return;
    if (arguments_->begin(selectedResult())) setQuery({});
}

// Running.

void PaletteState::execute(std::optional<CommandAction> action) {
    if (busy()) return;
    if (!action) action = chosenAction();
    if (argumentTarget()) {
        arguments_->submit(query_, action);
    } else if (mode_ == Mode::ai) {
        assistant_->ask(query_);
    } else if (const ResultPointer selected = selectedResult(); selected && action) {
        runner_->run(selected, *action);
    }
}

std::optional<CommandAction> PaletteState::chosenAction() const {
    const ResultPointer selected = selectedResult();
    const std::ptrdiff_t index = showsActions_ ? actionSelection_ : 0;
    if (!selected || index >= countOf(selected->actions)) return std::nullopt;
    return selected->actions[static_cast<std::size_t>(index)];
}

}  // namespace velmora
