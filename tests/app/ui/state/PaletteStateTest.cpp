#include "app/ui/state/PaletteState.h"

#include "app/services/applications/ApplicationService.h"
#include "app/ui/state/PaletteScreen.h"
#include "tests/fakes/FakePlatform.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

using namespace std::chrono_literals;
using Mode = PaletteState::Mode;

/// A palette over a real database and fake everything else.
class PaletteStateTest : public testing::Test, protected test::FakePlatform {
  protected:
    PaletteStateTest() {
        install("Maps");
        install("Music");
        install("Zoom");
        bundles->folders = {folder.path() + "/apps"};
        services = makeServices();
        services->fileSearch = files;
        services->clipboardSearch = clipboard;
        state = std::make_shared<PaletteState>(services);
        hides = state->onHide([this] { ++hidden; });
        loop.run([this]() -> Task<> { co_await state->start(); });
        settle();
    }

    void install(const std::string& name) const {
        std::filesystem::create_directories(folder.path() + "/apps/" + name + ".app");
    }

    void settle() { loop.settle(); }

    void execute() {
        state->execute();
        settle();
    }

    void wait(std::chrono::milliseconds duration) {
        settle();
        clock.advance(duration);
        settle();
    }

    [[nodiscard]] std::vector<std::string> titles() const {
        std::vector<std::string> all;
        for (const auto& result : state->results())
            all.push_back(result->title);
        return all;
    }

    void select(const std::string& title) {
        const auto all = titles();
        const auto found = std::find(all.begin(), all.end(), title);
        ASSERT_NE(found, all.end()) << title;
        state->setSelection(found - all.begin());
    }

    std::shared_ptr<test::FakeSource> files = std::make_shared<test::FakeSource>();
    std::shared_ptr<test::FakeSource> clipboard = std::make_shared<test::FakeSource>();
    std::shared_ptr<AppServices> services;
    std::shared_ptr<PaletteState> state;
    int hidden = 0;
    Subscription hides;
};

TEST_F(PaletteStateTest, RunsApplicationsAndRemembersTheirUse) {
    state->setQuery("zoom");
    state->execute();
    EXPECT_TRUE(state->busy());
    execute();  // Return once more while it is running
    EXPECT_EQ(workspace.launches.size(), 1U);
    EXPECT_EQ(hidden, 1);
    EXPECT_FALSE(state->busy());
    state->setQuery("");
    EXPECT_EQ(titles().front(), "Zoom") << "used things come first";

    workspace.fails = true;
    state->setQuery("maps");
    execute();
    EXPECT_EQ(hidden, 1) << "a failure keeps the palette";
    const auto usage = loop.run([this]() -> Task<UsageMap> { co_return co_await services->usage.load(); });
    EXPECT_EQ(usage.size(), 1U) << "a failure is no use";
}

TEST_F(PaletteStateTest, ACancelledActionLeavesNoTrace) {
    CommandResult result;
    result.id = result.title = "fickle";
    result.actions.push_back({"run", "Run", std::nullopt, ActionRole::normal, []() -> Task<> {
                                  co_await throwIfCancelled();
                                  throw Cancelled{};
                              }});
    state->registry().registerCommand(std::make_shared<StaticCommand>(result));
    state->setQuery("fickle");
    execute();
    EXPECT_EQ(state->error(), std::nullopt);
    EXPECT_FALSE(state->busy());
    EXPECT_EQ(hidden, 0);
}

TEST_F(PaletteStateTest, WhatTakesLongIsNamedAndHoldsNothingElseUp) {
    std::optional<Completion<>> end;
    CommandResult result;
    result.id = result.title = "Endless";
    const std::function<Task<>()> work = [&end] {
        return Completion<>::await([&end](const Completion<>& ended) { end = ended; });
    };
    result.actions.push_back({"run", "Run", std::nullopt, ActionRole::normal, work});
    state->registry().registerCommand(std::make_shared<StaticCommand>(result));
    const auto footer = [this] { return PaletteScreen::of(*state).footer; };
    state->setQuery("endless");
    execute();
    EXPECT_EQ(footer().help, "") << "not yet";
    wait(500ms);
    EXPECT_EQ(footer().help, "Running Endless…");
    EXPECT_EQ(footer().hints, "");
    state->setQuery("zoom");
    EXPECT_EQ(titles().front(), "Zoom");
    execute();
    EXPECT_TRUE(workspace.launches.empty());
    state->escape();
    EXPECT_EQ(hidden, 1);
    state->enter(Mode::clipboard);  // as an action of the palette that is shown again does
    wait(180ms);
    EXPECT_EQ(footer().help, "Running Endless…");
    state->escape();
    EXPECT_EQ(state->mode(), Mode::commands);
    end->fulfil();
    settle();
    EXPECT_EQ(footer().help, "");
    EXPECT_NE(footer().hints, "");
}

TEST_F(PaletteStateTest, ATroubleIsShownUntilThePaletteWasShownWithIt) {
    const auto run = [this](const char* sql) { loop.run([&] { return services->database->execute(sql); }); };
    const char* const refuse =
        "CREATE TRIGGER refuse BEFORE INSERT ON clipboard_history BEGIN SELECT RAISE(ABORT,''); END";
    const auto poll = [this] {
        for (int i = 0; i < 9; ++i)
            wait(650ms);
    };
    const std::string trouble = "What was copied could not be stored. Could not save local data.";
    run(refuse);
    pasteboard.copyText("text");
    poll();
    state->setQuery("zoom");
    EXPECT_EQ(PaletteScreen::of(*state).error, trouble) << "typing does not clear it";
    state->showError("What was tried last failed.");
    EXPECT_EQ(PaletteScreen::of(*state).error, "What was tried last failed.");
    state->setQuery("");
    run("DROP TRIGGER refuse");
    poll();
    EXPECT_EQ(state->notice(), "") << "stored after all";
    run(refuse);
    pasteboard.copyText("more");
    poll();
    state->rest();
    EXPECT_EQ(state->notice(), "");
}

TEST_F(PaletteStateTest, FilesAreSearchedWhenTypingPauses) {
    state->enter(Mode::files);
    EXPECT_FALSE(state->searching());
    EXPECT_TRUE(state->results().empty());
    state->setFileDirectory("/home");
    wait(60ms);
    files->searches.clear();

    state->setQuery("r");
    EXPECT_TRUE(state->searching());
    wait(59ms);
    state->setQuery("re");
    wait(59ms);
    EXPECT_TRUE(files->searches.empty()) << "each keystroke starts the pause again";
    wait(1ms);
    EXPECT_EQ(files->searches, std::vector<std::string>{"re@/home"});
    EXPECT_EQ(titles(), std::vector<std::string>{"re"});
    EXPECT_FALSE(state->searching());
}

TEST_F(PaletteStateTest, AnAnswerToAnEarlierQuestionIsDropped) {
    const std::pair<const char*, std::function<void()>> cases[] = {
        {"query", [this] { state->setQuery("new"); }},
        {"folder", [this] { state->setFileDirectory("/data"); }},
        {"mode", [this] { state->enter(Mode::commands); }},
        {"hidden", [this] { state->cancelWork(); }},
    };
    // An answer that is on its way when its question is withdrawn arrives all the same.
    files->ignoresCancellation = true;
    for (const auto& [name, change] : cases) {
        for (const bool fails : {false, true}) {
            SCOPED_TRACE(std::string(name) + (fails ? " fails" : ""));
            state->enter(Mode::files);
            state->setFileDirectory(std::nullopt);
            state->setQuery("old");
            wait(60ms);
            files->fails = fails;
            change();
            const auto shown = titles();
            std::exchange(files->late, {}).back().fulfil();
            settle();
            EXPECT_EQ(titles(), shown);
            EXPECT_EQ(state->error(), std::nullopt);
        }
    }
    files->ignoresCancellation = false;
    state->enter(Mode::files);
    state->setQuery("y");
    wait(60ms);
    EXPECT_EQ(state->error(), "The operation could not be completed. Please try again or check permissions.");
    EXPECT_FALSE(state->searching());
}

TEST_F(PaletteStateTest, AFailedLaunchKeepsTheArguments) {
    state->setQuery("finder");
    state->beginArguments();
    EXPECT_FALSE(state->argumentTarget()) << "arguments are for applications";
    state->setQuery("zoom");
    state->beginArguments();
    workspace.fails = true;
    state->setQuery("again");
    execute();
    EXPECT_TRUE(state->argumentTarget());
    EXPECT_EQ(state->query(), "again");
    EXPECT_EQ(state->error(), "The application could not be launched.");
}

TEST_F(PaletteStateTest, GroupsAreReplacedWhenTheyChangeAndOnlyThen) {
    const auto save = [this](const Quicklink& link) {
        loop.run([&]() -> Task<> { co_await services->quicklinks.save(link); });
    };
    const auto refresh = [this] {
        state->groups().refresh();
        for (int i = 0; i < 5; ++i)
            settle();
    };
    select("Music");
    install("Aardvark");
    save({"1", "Wiki", "https://intranet.example/"});
    childProcesses.result.output = "Make Tea\nTidy Up\nMake Tea\n";
    refresh();
    EXPECT_EQ(state->selectedResult()->title, "Music") << "what is selected stays so";
    for (const char* const title : {"Aardvark", "Wiki", "Make Tea", "Tidy Up"})
        EXPECT_EQ(std::ranges::count(titles(), title), 1) << title;
    state->toggleActions();
    clock.advance(301s);
    refresh();
    EXPECT_TRUE(state->showsActions()) << "nothing new must not close the menu";

    loop.run([this]() -> Task<> { co_await services->quicklinks.remove("1"); });
    refresh();
    EXPECT_EQ(std::ranges::count(titles(), "Wiki"), 0);
    loop.run([this]() -> Task<> { co_await services->database->close(); });
    refresh();
    EXPECT_EQ(state->error(), "The database is closed.");
}

TEST_F(PaletteStateTest, TellsItsViewsOncePerCall) {
    int changes = 0;
    const auto subscription = state->onChange([&] { ++changes; });
    state->setQuery("m");
    EXPECT_EQ(changes, 1);
    state->setQuery("m");
    EXPECT_EQ(changes, 1) << "nothing changed";
    state->enter(Mode::ai);
    EXPECT_EQ(changes, 2);
}

TEST_F(PaletteStateTest, AStartThatIsLateOrCancelledIsNoFailure) {
    for (const bool closed : {false, true}) {
        const auto late = std::make_shared<PaletteState>(services);
        const TaskHandle start = spawn(loop.executor(), [late] { return late->start(); });
        late->stop();
        if (closed) {
            loop.run([this]() -> Task<> { co_await services->database->close(); });
        } else {
            start.cancel();
        }
        loop.until([&] { return start.done(); });
        EXPECT_EQ(late->error(), std::nullopt);
        EXPECT_TRUE(late->results().empty()) << "nothing begins any more";
    }
}

/// Everything that tells one picture of the window from another, in one line.
std::string pictureOf(const PaletteState& state) {
    const PaletteScreen screen = PaletteScreen::of(state);
    static constexpr const char* pages[] = {"list", "nothing", "answer", "preview"};
    std::string line = pages[static_cast<int>(screen.page)];
    for (const std::string& part :
         {screen.atHome ? std::string() : "back", screen.argumentHelp.substr(0, 14),
          screen.page == PaletteScreen::Page::nothing ? screen.nothing.heading : "",
          screen.page == PaletteScreen::Page::nothing ? screen.nothing.help.substr(0, 12) : "",
          screen.footer.hints.substr(0, 5), screen.footer.help.substr(0, 6), screen.footer.remark,
          screen.working ? std::string("working") : ""})
        line += part.empty() ? "" : ", " + part;
    return line;
}

TEST_F(PaletteStateTest, ShowsOnePageForEverySituation) {
    const auto answered = [this](std::size_t count) {
        files->count = count;
        state->search();
        wait(60ms);
    };
    const std::pair<std::function<void()>, std::string> cases[] = {
        {[this] { state->setQuery("nothing like it"); }, "nothing, No Results, Type a name , ↑"},
        {[this] { state->setQuery("zoom"), state->beginArguments(); }, "nothing, back, Type arguments, No Results"},
        {[this] { state->enter(Mode::files); }, "nothing, back, No Results, Results come, report, 0 results"},
        {[this] { state->setQuery("q"); }, "nothing, back, report, 0 results, working"},
        {[&] { answered(100); }, "list, back, report, First 100"},
        {[&] { answered(101); }, "list, back, report, 101 results"},
        {[this] { state->enter(Mode::clipboard), wait(180ms); }, "list, back, Type a"},
        {[this] { state->togglePreview(); }, "preview, back, Type a"},
    };
    for (const auto& [step, expected] : cases) {
        step();
        EXPECT_EQ(pictureOf(*state).substr(0, expected.size()), expected) << pictureOf(*state);
    }
}

TEST_F(PaletteStateTest, ReadsLongPreviewsWhenTheyAreShown) {
    clipboard->count = 2;
    clipboard->whole = "all of it";
    state->enter(Mode::clipboard);
    wait(180ms);
    const auto preview = [this]() -> std::string {
        const PaletteScreen::Preview shown = PaletteScreen::of(*state).preview;
        return shown.text ? (shown.isWhole ? "" : "part:") + *shown.text : "none";
    };
    const auto answer = [this](std::size_t question) {
        clipboard->late.at(question).fulfil();
        settle();
    };
    EXPECT_TRUE(clipboard->late.empty()) << "a list needs none";
    state->togglePreview();
    settle();
    EXPECT_EQ(preview(), "part:");
    state->move(1);
    settle();
    answer(0);
    EXPECT_EQ(preview(), "part:") << "that was another row's";
    answer(1);
    EXPECT_EQ(preview(), "all of it");
    state->escape();
    EXPECT_EQ(preview(), "none");
    EXPECT_FALSE(state->wholePreview()) << "it can be large";
    clipboard->whole.reset();
    state->togglePreview();
    settle();
    answer(2);
    EXPECT_EQ(preview(), "part:") << "it is gone, and what is known of it stays";
    state->rest();
    EXPECT_EQ(preview(), "none");
    EXPECT_TRUE(state->results().empty());
}

}  // namespace
}  // namespace velmora
