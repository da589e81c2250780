#include "app/ui/state/PaletteState.h"

#include "app/services/applications/ApplicationService.h"
#include "core/files/FileNames.h"
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
        state->hide = [this] { ++hidden; };
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

    std::shared_ptr<test::FakeSource> files = std::make_shared<test::FakeSource>(clock);
    std::shared_ptr<test::FakeSource> clipboard = std::make_shared<test::FakeSource>(clock);
    std::shared_ptr<AppServices> services;
    std::shared_ptr<PaletteState> state;
    int hidden = 0;
};

TEST_F(PaletteStateTest, SaysThatTheClipboardWouldNotTakeAResult) {
    pasteboard.refuses = true;
    state->setQuery("2+2");
    execute();
    EXPECT_EQ(state->error(), "Could not update the clipboard.");
    EXPECT_FALSE(state->busy());
    state->setQuery("no such thing");
    EXPECT_EQ(state->error(), std::nullopt);
    state->toggleActions();
    state->move(1);
    execute();
    EXPECT_FALSE(state->busy() || state->showsActions()) << "there is nothing to act on";
}

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

TEST_F(PaletteStateTest, UsageThatCannotBeSavedDoesNotSpoilTheAction) {
    loop.run([this]() -> Task<> { co_await services->database->close(); });
    state->setQuery("zoom");
    execute();
    EXPECT_EQ(hidden, 1);
    EXPECT_EQ(state->error(), std::nullopt);
    EXPECT_FALSE(state->busy());
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

TEST_F(PaletteStateTest, TheUserChoosesTheFolderThatFilesAreSearchedIn) {
    state->enter(Mode::files);
    state->chooseFileDirectory();
    settle();
    EXPECT_EQ(state->fileDirectory(), std::nullopt) << "the panel was dismissed";
    folderPanel.choice = "/data/caf\xE9";
    state->chooseFileDirectory();
    settle();
    EXPECT_EQ(state->fileDirectory(), fileNameText("/data/caf\xE9"));
}

TEST_F(PaletteStateTest, LateAnswersAreDropped) {
    files->ignoresCancellation = true;
    state->enter(Mode::files);
    state->setQuery("old");
    wait(60ms);
    ASSERT_EQ(files->late.size(), 1U + 0U);
    state->setQuery("new");
    wait(60ms);
    ASSERT_EQ(files->late.size(), 2U);
    files->late[1]->resume();
    settle();
    EXPECT_EQ(titles(), std::vector<std::string>{"new"});
    files->late[0]->resume();
    settle();
    EXPECT_EQ(titles(), std::vector<std::string>{"new"}) << "an older answer must not replace a newer one";

    state->setQuery("more");
    wait(60ms);
    state->enter(Mode::commands);
    const auto commands = titles();
    files->late[2]->resume();
    settle();
    EXPECT_EQ(titles(), commands);
    EXPECT_FALSE(state->searching());
}

TEST_F(PaletteStateTest, SearchFailuresShowAndCancellationsDoNot) {
    files->fails = true;
    files->delay = 1s;
    state->enter(Mode::files);
    state->setQuery("x");
    wait(60ms);
    state->cancelWork();
    wait(1s);
    EXPECT_EQ(state->error(), std::nullopt);
    state->setQuery("y");
    wait(60ms);
    wait(1s);
    EXPECT_EQ(state->error(), "The operation could not be completed. Please try again or check permissions.");
    EXPECT_FALSE(state->searching());
}

TEST_F(PaletteStateTest, FindsEarlierArgumentsAndKeepsTheirModeAfterAFailure) {
    const auto argue = [&] {
        state->enter(Mode::commands);
        state->setQuery("zoom");
        state->beginArguments();
        settle();
    };
    for (const char* const arguments : {"--profile \"Work Profile\" ", "meeting"}) {
        argue();
        state->setQuery(arguments);
        execute();
        clock.advance(1h);
    }
    argue();
    EXPECT_EQ(titles(), (std::vector<std::string>{"meeting", "--profile \"Work Profile\" "}));
    state->setQuery("WORK");
    EXPECT_EQ(titles(), std::vector<std::string>{"--profile \"Work Profile\" "});
    state->setQuery("  ");
    EXPECT_TRUE(titles().empty()) << "no earlier launch contains two blanks";
    workspace.fails = true;
    state->setQuery("again");
    execute();
    EXPECT_TRUE(state->argumentTarget()) << "a failed launch stays in the argument mode";
    EXPECT_EQ(state->error(), "The application could not be launched.");
}

TEST_F(PaletteStateTest, ArgumentsAreForApplicationsOnly) {
    state->setQuery("finder");
    state->beginArguments();
    EXPECT_FALSE(state->argumentTarget());
    state->setQuery("zoom");
    state->toggleActions();
    state->beginArguments();
    EXPECT_FALSE(state->argumentTarget());
}

TEST_F(PaletteStateTest, KeepsTheSelectionWhenApplicationsChange) {
    select("Music");
    install("Aardvark");
    state->refreshApplications();
    loop.until([&] { return state->results().size() == 13; });
    EXPECT_EQ(titles()[static_cast<std::size_t>(state->selection())], "Music");

    state->toggleActions();
    state->refreshApplications();
    for (int i = 0; i < 5; ++i)
        settle();
    EXPECT_TRUE(state->showsActions()) << "a rescan that found nothing new must not close the menu";
}

TEST_F(PaletteStateTest, ListsQuicklinksAsTheyAreNow) {
    const auto save = [this](const Quicklink& link) {
        loop.run([&]() -> Task<> { co_await services->quicklinks.save(link); });
    };
    const auto refresh = [this] {
        state->refreshQuicklinks();
        settle();
    };
    save({"1", "Wiki", "https://intranet.example/"});
    state->setQuery("intranet");
    EXPECT_TRUE(titles().empty());
    refresh();
    EXPECT_EQ(titles(), std::vector<std::string>{"Wiki"});

    state->setQuery("");
    select("Zoom");
    state->toggleActions();
    refresh();
    EXPECT_TRUE(state->showsActions()) << "nothing new must not close the menu";
    save({"2", "Aardvarks", "https://a.example/"});
    loop.run([this]() -> Task<> { co_await services->quicklinks.remove("1"); });
    refresh();
    state->setQuery("i");
    EXPECT_EQ(std::ranges::count(titles(), "Wiki"), 0);

    loop.run([this]() -> Task<> { co_await services->database->close(); });
    refresh();
    EXPECT_EQ(state->error(), "The database is closed.");
    state->setQuery("aardvark");
    EXPECT_EQ(titles(), std::vector<std::string>{"Aardvarks"}) << "a failure keeps what there was";
}

TEST_F(PaletteStateTest, AsksBeforeTheTrashIsEmptiedAndWaitsUntilItIs) {
    const auto run = [this](const std::string& query) {
        state->setQuery(query);
        execute();
    };
    alerts.answers = {false, true};
    run("empty trash");
    EXPECT_EQ(alerts.asked, std::vector<std::string>{"Empty Trash|This operation cannot be undone."});
    EXPECT_EQ(session.emptied, 0);
    EXPECT_EQ(state->error(), "The operation was cancelled.");
    session.delay = 5s;
    run("empty trash");
    EXPECT_TRUE(state->busy());
    EXPECT_EQ(hidden, 0) << "the palette stays until the Trash is empty";
    wait(5s);
    EXPECT_EQ(session.emptied, 1);
    EXPECT_EQ(hidden, 1);
}

TEST_F(PaletteStateTest, ListsShortcutsWhenTheyAreKnown) {
    childProcesses.ending.output = "Make Tea\nTidy Up\nMake Tea\n";
    state->refreshShortcuts();
    settle();
    state->setQuery("shortcut");
    EXPECT_EQ(titles(), (std::vector<std::string>{"Make Tea", "Tidy Up"})) << "one command for each name";
}

TEST_F(PaletteStateTest, AsksForTheAssistantToBeEnabled) {
    state->enter(Mode::ai);
    state->execute();
    EXPECT_EQ(state->error(), std::nullopt) << "nothing typed";
    state->setQuery("hello");
    state->execute();
    EXPECT_EQ(state->error(), "Enable AI Requests and save an API key in Settings → AI.");
}

TEST_F(PaletteStateTest, TellsItsViewsOncePerCall) {
    int changes = 0;
    const auto subscription = state->onChange([&] { ++changes; });
    state->setQuery("m");
    EXPECT_EQ(changes, 1);
    state->setQuery("m");
    EXPECT_EQ(changes, 1) << "nothing changed";
    state->enter(Mode::files);
    EXPECT_EQ(changes, 2);
}

}  // namespace
}  // namespace velmora
