#include "app/ui/state/PaletteState.h"

#include "app/composition/AppServices.h"
#include "app/services/applications/ApplicationService.h"
#include "app/services/files/FileService.h"
#include "app/services/quick/Shortcuts.h"
#include "app/ui/state/PaletteStateChanges.h"
#include "core/text/Text.h"

#include <algorithm>

namespace velmora {
namespace {

using namespace std::chrono_literals;

constexpr int maximumRecents = 8;

std::chrono::milliseconds debounce(PaletteState::Mode mode) {
    return mode == PaletteState::Mode::files ? 60ms : 180ms;
}

}  // namespace

PaletteState::PaletteState(std::shared_ptr<AppServices> services) : services_(std::move(services)) {}

std::string_view PaletteState::title(Mode mode) {
    switch (mode) {
        case Mode::commands:
            return "Commands";
        case Mode::files:
            return "Search Files";
        case Mode::clipboard:
            return "Clipboard History";
        case Mode::ai:
            return "Ask AI";
    }
    return {};
}

Task<> PaletteState::start() {
    if (std::exchange(started_, true)) co_return;
    const auto self = shared_from_this();
    std::exception_ptr failure;
    try {
        applicationChanges_ = services_->applications->onIndexChange([weak = weak_from_this()] {
            if (const auto state = weak.lock()) state->updateApplicationCommands();
        });
        registerBuiltInCommands();
        co_await reloadQuicklinks();
        reloadShortcutCommands();
        shortcutChanges_ = services_->shortcuts->onUpdate([weak = weak_from_this()] {
            if (const auto state = weak.lock()) state->reloadShortcutCommands();
        });
        usages_ = co_await services_->usage.load();
        services_->startWatching();
        search();
        co_await services_->applications->refresh();
        search();
    } catch (...) {
        failure = std::current_exception();
    }
    if (failure) showError(AppError::friendly(failure));
}

// What the views read.

ResultPointer PaletteState::selectedResult() const {
    if (selection_ < 0 || selection_ >= countOf(results_)) return nullptr;
    return results_[static_cast<std::size_t>(selection_)];
}

std::string PaletteState::placeholder() const {
    if (argumentTarget_) return "Arguments for " + argumentTarget_->title;
    switch (mode_) {
        case Mode::commands:
            return "Search commands, apps or ask AI…";
        case Mode::files:
            return "Search indexed filenames…";
        case Mode::clipboard:
            return "Search clipboard history…";
        case Mode::ai:
            return "Ask AI to do something…";
    }
    return {};
}

std::string PaletteState::aiIntroduction() const {
    return "Describe an action, then press Return.\n\nTry: 帮我打开 Safari\n\nTool operations appear for approval when "
           "required.";
}

// Searching.

void PaletteState::setQuery(std::string query) {
    const Changes changes(*this);
    set(query_, std::move(query));
    search();
}

void PaletteState::setSelection(std::ptrdiff_t selection) {
    const Changes changes(*this);
    if (selection >= 0 && selection < countOf(results_)) set(selection_, selection);
}

void PaletteState::setFileDirectory(std::optional<std::string> directory) {
    const Changes changes(*this);
    set(fileDirectory_, std::move(directory));
    search();
}

void PaletteState::chooseFileDirectory() {
    spawn(services_->platform.main, [self = shared_from_this()]() -> Task<> {
        const std::optional<std::string> chosen = co_await self->services_->files->chooseDirectory();
        if (chosen) self->setFileDirectory(chosen);
    });
}

void PaletteState::search() {
    const Changes changes(*this);
    queryTask_.cancel();
    queryTask_ = {};
    set(error_, std::optional<std::string>());
    set(searching_, false);
    set(showsPreview_, false);
    if (argumentTarget_) {
        searchArguments();
    } else if (mode_ == Mode::commands) {
        searchCommands();
    } else {
        searchLater();
    }
}

void PaletteState::showResults(std::vector<ResultPointer> results) {
    set(results_, std::move(results));
    set(selection_, std::ptrdiff_t{0});
    set(showsActions_, false);
}

void PaletteState::searchCommands() {
    std::vector<ResultPointer> results;
    if (auto calculator = calculatorResult()) {
        results.push_back(std::make_shared<const CommandResult>(*std::move(calculator)));
    }
    const auto ranked = registry_.ranked(query_, usages_, services_->platform.clock, maximumResults);
    results.insert(results.end(), ranked.begin(), ranked.end());
    showResults(std::move(results));
}

void PaletteState::searchArguments() {
    std::vector<ResultPointer> results;
    for (const AppLaunchRecord& record : argumentRecents_) {
        if (text::contains(record.arguments, query_)) results.push_back(argumentResult(record));
    }
    showResults(std::move(results));
}

void PaletteState::searchLater() {
    showResults({});
    set(searching_, mode_ == Mode::clipboard || (mode_ == Mode::files && !query_.empty()));
    queryTask_ = spawn(services_->platform.main,
                       [self = shared_from_this(), query = query_, mode = mode_] { return self->answer(query, mode); });
}

std::shared_ptr<ResultSource> PaletteState::sourceFor(Mode mode) const {
    switch (mode) {
        case Mode::files:
            return services_->fileSearch;
        case Mode::clipboard:
            return services_->clipboardSearch;
        case Mode::commands:
        case Mode::ai:
            break;
    }
    return nullptr;
}

Task<> PaletteState::answer(std::string query, Mode mode) {
    const auto stillCurrent = [&] { return query_ == query && mode_ == mode && !argumentTarget_; };
    std::vector<ResultPointer> found;
    std::exception_ptr failure;
    try {
        co_await services_->platform.clock.sleep(debounce(mode));
        if (const auto source = sourceFor(mode)) {
            const std::optional<std::string> directory = mode == Mode::files ? fileDirectory_ : std::nullopt;
            found = co_await source->search(query, directory);
        }
        co_await throwIfCancelled();
    } catch (const Cancelled&) {
        co_return;
    } catch (...) {
        failure = std::current_exception();
    }
    if (!stillCurrent()) co_return;
    const Changes changes(*this);
    set(searching_, false);
    if (failure) {
        set(error_, errorLine(failure));
    } else {
        showResults(std::move(found));
    }
}

// Selecting and menus.

void PaletteState::move(std::ptrdiff_t step) {
    const Changes changes(*this);
    const ResultPointer selected = selectedResult();
    if (!selected) return;
    const std::ptrdiff_t rows = showsActions_ ? countOf(selected->actions) : countOf(results_);
    if (rows == 0) return;
    std::ptrdiff_t& field = showsActions_ ? actionSelection_ : selection_;
    set(field, ((field + step) % rows + rows) % rows);
}

void PaletteState::toggleActions() {
    const Changes changes(*this);
    const ResultPointer selected = selectedResult();
    if (!selected || selected->actions.empty()) return;
    set(showsActions_, !showsActions_);
    set(actionSelection_, std::ptrdiff_t{0});
    set(showsPreview_, false);
}

void PaletteState::togglePreview() {
    const Changes changes(*this);
    const ResultPointer selected = selectedResult();
    if (!selected || !selected->previewText) return;
    set(showsPreview_, !showsPreview_);
    set(showsActions_, false);
}

void PaletteState::escape() {
    const Changes changes(*this);
    if (showsActions_) {
        set(showsActions_, false);
    } else if (showsPreview_) {
        set(showsPreview_, false);
    } else if (argumentTarget_) {
        const std::string title = argumentTarget_->title;
        set(argumentTarget_, ResultPointer());
        argumentRecents_.clear();
        setQuery(title);
    } else if (mode_ != Mode::commands) {
        enter(Mode::commands);
    } else {
        hide();
    }
}

void PaletteState::enter(Mode mode) {
    const Changes changes(*this);
    set(mode_, mode);
    set(argumentTarget_, ResultPointer());
    argumentRecents_.clear();
    set(showsPreview_, false);
    setQuery({});
}

void PaletteState::beginArguments() {
    const Changes changes(*this);
    if (argumentTarget_ || mode_ != Mode::commands || showsActions_) return;
    const ResultPointer selected = selectedResult();
    if (!selected || !selected->id.starts_with(applicationPrefix)) return;
    set(argumentTarget_, selected);
    argumentRecents_.clear();
    spawn(services_->platform.main, [self = shared_from_this(), selected] { return self->loadRecents(selected); });
    setQuery({});
}

Task<> PaletteState::loadRecents(ResultPointer target) {
    std::vector<AppLaunchRecord> recents;
    try {
        recents = co_await services_->appLaunches.recents(applicationPath(target->id), maximumRecents);
    } catch (const std::exception&) {
        co_return;  // nothing to offer; typing arguments still works
    }
    if (argumentTarget_ != target) co_return;
    const Changes changes(*this);
    argumentRecents_ = std::move(recents);
    search();
}

void PaletteState::cancelWork() {
    queryTask_.cancel();
}

void PaletteState::showError(std::string sentence) {
    const Changes changes(*this);
    set(error_, std::optional(std::move(sentence)));
}

}  // namespace velmora
