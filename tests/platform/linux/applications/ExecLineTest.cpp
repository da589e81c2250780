#include "platform/linux/applications/ExecLine.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace velmora {
namespace {

using Words = std::vector<std::string>;

TEST(ExecLine, PutsOperandsWhereTheFieldCodesAre) {
    struct Case {
        std::string exec;
        Words arguments;  // operands a and b as files, file:a and file:b as addresses
    };
    const Case cases[] = {
        {"app %f", {"app", "a", "b"}},
        {"app %U --last", {"app", "file:a", "file:b", "--last"}},
        {"app \"%u\" '%F'", {"app", "file:a", "file:b"}},
        {"app --url=%u x", {"app", "--url=file:a", "file:b", "x"}},
        {"app %i -n %c -e %k %%f",
         {"app", "--icon", "the icon", "-n", "My \"App\" 100%", "-e", "/x/y.desktop", "%f", "a", "b"}},
        {"app %d%D%n%N%v%m %z 5% \"\"", {"app", "5%", "", "a", "b"}},
        {R"("/opt/My App/run" "a\"b\\c\$d\`" %F)", {"/opt/My App/run", R"(a"b\c$d`)", "a", "b"}},
        {"sh -c \"exec app %u\" %%", {"sh", "-c", "exec app ", "file:a", "file:b", "%"}},
        {"/opt/100%%/app %f", {"/opt/100%/app", "a", "b"}},
    };
    for (const Case& one : cases) {
        const ExecFields fields{"My \"App\" 100%", "the icon", "/x/y.desktop", {"a", "b"}, {"file:a", "file:b"}};
        EXPECT_EQ(expandExec(one.exec, fields), one.arguments) << one.exec;
    }
    EXPECT_EQ(expandExec("app %i %U --url=%u", {}), (Words{"app", "--url="})) << "nothing to open";
}

TEST(ExecLine, ForwardsNoOptionsAsFiles) {
    const ExecFields fields{"", "", "", {"--diff", "a", "-n", "b"}, {"--diff", "file:a", "-n", "file:b"}};
    EXPECT_EQ(expandExec("flatpak run --file-forwarding org.example @@ %F @@", fields),
              (Words{"flatpak", "run", "--file-forwarding", "org.example", "--diff", "-n", "@@", "a", "b", "@@"}));
    EXPECT_EQ(expandExec("flatpak run org.example @@u %u @@", fields),
              (Words{"flatpak", "run", "org.example", "@@u", "--diff", "file:a", "-n", "file:b", "@@"}))
        << "of addresses Flatpak forwards only those of files";
}

TEST(ExecLine, RefusesLinesThatNameNoProgram) {
    for (const char* const exec :
         {"", "   ", "\"unclosed", "%u", "%F app", "\"\" x", "%c", "#comment", "app\\", "%i", "app%f", "%%%u x"}) {
        const ExecFields fields{"", "", "", {"a"}, {"file:a"}};
        EXPECT_THROW(static_cast<void>(expandExec(exec, fields)), std::invalid_argument) << exec;
    }
}

}  // namespace
}  // namespace velmora
