#include "app/ui/PaletteState.h"

#include "app/services/ApplicationService.h"
#include "core/AppError.h"
#include "core/FileNames.h"
#include "tests/fakes/FakePlatform.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

using namespace std::chrono_literals;
using Mode = PaletteState::Mode;

/// Three applications that nobody needs to install.
class FakeBundles final : public ApplicationBundles {
  public:
    explicit FakeBundles(std::string folder) : folder_(std::move(folder)) {}

    [[nodiscard]] std::vector<std::string> roots() const override { return {folder_}; }
    [[nodiscard]] bool isApplicationName(std::string_view name, bool isDirectory) const override {
        return isDirectory && name.ends_with(".app");
    }
    [[nodiscard]] std::optional<BundleInformation> read(const std::string& path, const std::string&) const override {
        BundleInformation information;
        information.identifier = "id." + std::filesystem::path(path).stem().string();
        return information;
    }

  private:
    std::string folder_;
};

/// A palette over a real database and fake everything else.
class PaletteStateTest : public testing::Test, protected test::FakePlatform {
  protected:
    PaletteStateTest() {
        install("Maps");
        install("Music");
        install("Zoom");
        services = makeServices(std::make_shared<FakeBundles>(folder.path() + "/apps"));
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

    [[nodiscard]] std::string app(const std::string& name) const { return folder.path() + "/apps/" + name + ".app"; }

    void select(const std::string& title) {
        const auto all = titles();
        const auto found = std::find(all.begin(), all.end(), title);
        ASSERT_NE(found, all.end()) << title;
        state->setSelection(found - all.begin());
    }

    /// Adds a command with two actions and a preview, found by its identifier.
    void addCommand(const std::string& id, ActionRole role, std::function<Task<>()> execute) {
        CommandResult result;
        result.id = id;
        result.title = id;
        result.previewText = "preview";
        result.actions.push_back({"first", "First", std::nullopt, role, std::move(execute)});
        result.actions.push_back({"second", "Second", std::nullopt, ActionRole::normal, [this]() -> Task<> {
                                      ++secondRuns;
                                      co_return;
                                  }});
        state->registry().registerCommand(std::make_shared<StaticCommand>(result));
        state->setQuery(id);
    }

    std::shared_ptr<test::FakeSource> files = std::make_shared<test::FakeSource>(clock);
    std::shared_ptr<test::FakeSource> clipboard = std::make_shared<test::FakeSource>(clock);
    std::shared_ptr<AppServices> services;
    std::shared_ptr<PaletteState> state;
    int hidden = 0;
    int secondRuns = 0;
};

TEST_F(PaletteStateTest, ListsEveryCommandUntilSomethingIsTyped) {
    EXPECT_EQ(titles(), (std::vector<std::string>{"Ask AI", "Clipboard History", "Empty Trash", "Lock Screen", "Maps",
                                                  "Music", "Open Applications", "Open Downloads", "Open Finder",
                                                  "Search Files", "Sleep", "Zoom"}));
    state->setQuery("m");
    EXPECT_EQ(titles(), (std::vector<std::string>{"Maps", "Music", "Empty Trash", "Zoom"}));
    EXPECT_EQ(state->selection(), 0);
}

TEST_F(PaletteStateTest, CalculatesOnTopAndCopiesWithoutHiding) {
    state->setQuery("2+2");
    ASSERT_EQ(titles(), std::vector<std::string>{"4"});
    state->execute();
    settle();
    EXPECT_EQ(pasteboard.text, "4");
    EXPECT_EQ(hidden, 0);
    EXPECT_FALSE(state->busy());

    pasteboard.refuses = true;
    state->execute();
    settle();
    EXPECT_EQ(state->error(), "Could not update the clipboard.");
    state->setQuery("2+3");
    EXPECT_EQ(state->error(), std::nullopt);
}

TEST_F(PaletteStateTest, SelectionWrapsAndIgnoresAnEmptyList) {
    state->setQuery("m");
    state->move(-1);
    EXPECT_EQ(state->selection(), 3);
    state->move(1);
    EXPECT_EQ(state->selection(), 0);
    state->setQuery("no such thing");
    state->move(1);
    EXPECT_EQ(state->selection(), 0);
    state->execute();
    state->toggleActions();
    EXPECT_FALSE(state->busy() || state->showsActions());
}

TEST_F(PaletteStateTest, RunsApplicationsAndRemembersTheirUse) {
    state->setQuery("zoom");
    state->execute();
    EXPECT_TRUE(state->busy());
    state->execute();  // Return once more while it is running
    settle();
    EXPECT_EQ(workspace.launches, (std::vector<test::FakeWorkspace::Launch>{{app("Zoom"), {}}}));
    EXPECT_EQ(hidden, 1);
    EXPECT_FALSE(state->busy());
    state->setQuery("");
    EXPECT_EQ(titles().front(), "Zoom") << "used things come first";

    workspace.fails = true;
    state->setQuery("maps");
    state->execute();
    settle();
    EXPECT_EQ(state->error(), "The application could not be launched.");
    EXPECT_EQ(hidden, 1) << "a failure keeps the palette";
    workspace.fails = false;
    const auto usage = loop.run([this]() -> Task<UsageMap> { co_return co_await services->usage.load(); });
    EXPECT_EQ(usage.size(), 1U) << "a failure is no use";
}

TEST_F(PaletteStateTest, EscapeClosesTheInnermostThing) {
    state->setQuery("zoom");
    state->toggleActions();
    EXPECT_TRUE(state->showsActions());
    state->escape();
    EXPECT_FALSE(state->showsActions());
    state->escape();
    EXPECT_EQ(hidden, 1);

    state->beginArguments();
    ASSERT_TRUE(state->argumentTarget());
    state->escape();
    EXPECT_FALSE(state->argumentTarget());
    EXPECT_EQ(state->query(), "Zoom");
    EXPECT_EQ(titles(), std::vector<std::string>{"Zoom"});

    state->enter(Mode::files);
    state->escape();
    EXPECT_EQ(state->mode(), Mode::commands);
    EXPECT_EQ(hidden, 1);
}

TEST_F(PaletteStateTest, TheActionsMenuChoosesAndExcludesThePreview) {
    int firstRuns = 0;
    addCommand("gadget", ActionRole::normal, [&]() -> Task<> {
        ++firstRuns;
        co_return;
    });
    state->togglePreview();
    EXPECT_TRUE(state->showsPreview());
    state->toggleActions();
    EXPECT_TRUE(state->showsActions() && !state->showsPreview());
    state->move(1);
    EXPECT_EQ(state->actionSelection(), 1);
    state->move(1);
    EXPECT_EQ(state->actionSelection(), 0);
    state->move(-1);
    state->execute();
    settle();
    EXPECT_EQ(secondRuns, 1);
    EXPECT_EQ(firstRuns, 0);
    state->togglePreview();
    EXPECT_TRUE(state->showsPreview() && !state->showsActions());
    state->setQuery("gad");
    EXPECT_FALSE(state->showsPreview());
    state->execute(state->results()[0]->actions[1]);  // a click on a menu entry
    settle();
    EXPECT_EQ(secondRuns, 2);
}

TEST_F(PaletteStateTest, DestructiveActionsNeedTheUsersWord) {
    int runs = 0;
    addCommand("shredder", ActionRole::destructive, [&]() -> Task<> {
        ++runs;
        co_return;
    });
    alerts.answers = {false};
    state->execute();
    settle();
    EXPECT_EQ(alerts.asked, std::vector<std::string>{"First|This operation cannot be undone."});
    EXPECT_EQ(state->error(), "The operation was cancelled.");
    EXPECT_EQ(runs, 0);
    EXPECT_EQ(hidden, 0);
    alerts.answers = {true};
    state->execute();
    settle();
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(hidden, 1);
    EXPECT_EQ(state->error(), std::nullopt);
}

TEST_F(PaletteStateTest, ACancelledActionLeavesNoTrace) {
    addCommand("fickle", ActionRole::normal, []() -> Task<> {
        co_await throwIfCancelled();
        throw Cancelled{};
    });
    state->execute();
    settle();
    EXPECT_EQ(state->error(), std::nullopt);
    EXPECT_FALSE(state->busy());
    EXPECT_EQ(hidden, 0);
}

TEST_F(PaletteStateTest, UsageThatCannotBeSavedDoesNotSpoilTheAction) {
    loop.run([this]() -> Task<> { co_await services->database->close(); });
    state->setQuery("zoom");
    state->execute();
    settle();
    EXPECT_EQ(hidden, 1);
    EXPECT_EQ(state->error(), std::nullopt);
    EXPECT_FALSE(state->busy());
}

TEST_F(PaletteStateTest, ModeCommandsKeepThePaletteOpen) {
    state->setQuery("clip");
    state->execute();
    settle();
    EXPECT_EQ(state->mode(), Mode::clipboard);
    EXPECT_EQ(state->query(), "");
    EXPECT_TRUE(state->searching());
    EXPECT_EQ(hidden, 0);
    wait(180ms);
    EXPECT_EQ(titles(), std::vector<std::string>{""}) << "the whole history";
    EXPECT_FALSE(state->searching());
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

TEST_F(PaletteStateTest, LaunchesWithTypedArgumentsAndOffersThemAgain) {
    const auto launch = [&](const std::string& arguments) {
        state->enter(Mode::commands);
        state->setQuery("zoom");
        state->beginArguments();
        state->setQuery(arguments);
        state->execute();
        settle();
        clock.advance(1h);
    };
    launch("--profile \"Work Profile\" ");
    launch("meeting");
    ASSERT_EQ(workspace.launches.size(), 2U);
    EXPECT_EQ(workspace.launches[0].arguments, (std::vector<std::string>{"--profile", "Work Profile"}));
    EXPECT_EQ(hidden, 2);

    state->enter(Mode::commands);
    state->setQuery("zoom");
    state->beginArguments();
    EXPECT_EQ(state->placeholder(), "Arguments for Zoom");
    settle();
    EXPECT_EQ(titles(), (std::vector<std::string>{"meeting", "--profile \"Work Profile\" "}));
    EXPECT_EQ(state->results()[0]->subtitle, "Used 1× · 1 hour ago");
    state->setQuery("WORK");
    EXPECT_EQ(titles(), std::vector<std::string>{"--profile \"Work Profile\" "});

    state->setQuery("  ");
    state->move(0);
    EXPECT_TRUE(titles().empty()) << "no earlier launch contains two blanks";
    state->setQuery("");
    state->execute();  // nothing typed: the selected earlier launch
    settle();
    EXPECT_EQ(workspace.launches.back().arguments, std::vector<std::string>{"meeting"});

    workspace.fails = true;
    launch("again");
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
    state->execute();
    settle();
    EXPECT_EQ(workspace.openedURLs, std::vector<std::string>{"https://intranet.example/"});
    EXPECT_EQ(hidden, 1);

    state->setQuery("");
    select("Zoom");
    state->toggleActions();
    refresh();
    EXPECT_TRUE(state->showsActions()) << "nothing new must not close the menu";
    save({"2", "Aardvarks", "https://a.example/"});
    refresh();
    EXPECT_EQ(titles()[static_cast<std::size_t>(state->selection())], "Zoom");
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

TEST_F(PaletteStateTest, SystemCommandsAskOnlyBeforeTheTrashIsEmptied) {
    const auto run = [this](const std::string& query) {
        state->setQuery(query);
        state->execute();
        settle();
    };
    run("lock screen");
    run("sleep");
    EXPECT_EQ(session.locks + session.sleeps, 2);
    EXPECT_TRUE(alerts.asked.empty());
    EXPECT_EQ(hidden, 2);

    alerts.answers = {false, true};
    run("empty trash");
    EXPECT_EQ(alerts.asked, std::vector<std::string>{"Empty Trash|This operation cannot be undone."});
    EXPECT_EQ(session.emptied, 0);
    EXPECT_EQ(state->error(), "The operation was cancelled.");
    session.delay = 5s;
    run("empty trash");
    EXPECT_TRUE(state->busy());
    EXPECT_EQ(hidden, 2) << "the palette stays until the Trash is empty";
    wait(5s);
    EXPECT_EQ(session.emptied, 1);
    EXPECT_EQ(hidden, 3);
}

TEST_F(PaletteStateTest, ListsShortcutsWhenTheyAreKnown) {
    childProcesses.ending.output = "Make Tea\nTidy Up\nMake Tea\n";
    state->refreshShortcuts();
    settle();
    state->setQuery("shortcut");
    EXPECT_EQ(titles(), (std::vector<std::string>{"Make Tea", "Tidy Up"})) << "one command for each name";
    childProcesses.ending = {.status = 1, .output = {}, .errors = "The kettle is empty."};
    state->execute();
    settle();
    EXPECT_EQ(childProcesses.lastCommand(), "/bin/true run Make Tea");
    EXPECT_EQ(state->error(), "The kettle is empty.");
    EXPECT_EQ(hidden, 0);
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

TEST(PermissionService, AsksOnlyBeforeDestructiveActions) {
    test::TestLoop loop;
    test::ManualClock clock;
    test::FakeAlerts alerts(clock);
    PermissionService permissions(alerts);
    const auto authorize = [&](ActionRole role) {
        loop.run([&permissions, role]() -> Task<> { co_await permissions.authorize(role, "Empty Trash", "Really."); });
    };
    authorize(ActionRole::normal);
    authorize(ActionRole::write);
    EXPECT_TRUE(alerts.asked.empty());
    alerts.answers = {true, false};
    authorize(ActionRole::destructive);
    try {
        authorize(ActionRole::destructive);
        FAIL();
    } catch (const AppError& error) {
        EXPECT_EQ(error.kind(), AppError::Kind::permission);
        EXPECT_STREQ(error.what(), "The operation was cancelled.");
    }
    EXPECT_EQ(alerts.asked, (std::vector<std::string>{"Empty Trash|Really.", "Empty Trash|Really."}));
}

}  // namespace
}  // namespace velmora
