#include "core/commands/SearchRanker.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

using namespace std::chrono_literals;
using std::nullopt;

TEST(SearchRanker, ScoresTheBestRuleThatApplies) {
    const struct {
        std::string query, title;
        std::vector<std::string> keywords;
        std::optional<double> score;
    } cases[] = {
        {"  \n", "Anything", {}, 1},
        {" SAFARI ", "Safari", {}, 120},
        {"safari", "Safari Technology Preview", {}, 90},
        {"safari", "Open Safari", {}, 65},
        {"ÉCOLE", "ecole", {}, 120},
        {"strasse", "Straße", {}, 120},
        {"browser", "Safari", {"web", "BRÖWSER"}, 40},
        {"sfri", "Safari", {}, nullopt},
        {"riweb", "Safari", {"web"}, nullopt},  // no match across two texts
    };
    for (const auto& [query, title, keywords, score] : cases) {
        EXPECT_EQ(SearchRanker::score(query, title, keywords, nullopt, TimePoint{}), score) << query << " / " << title;
    }
}

TEST(SearchRanker, BoostsByFrequencyAndRecency) {
    const TimePoint now = timeFromSeconds(1'700'000'000);
    const auto boost = [&](std::int64_t count, TimePoint lastUsed) {
        return SearchRanker::score("", "x", {}, CommandUsage{count, lastUsed}, now).value() - 1;
    };
    EXPECT_DOUBLE_EQ(boost(3, now - 60h), 4 + 2.5);
    EXPECT_DOUBLE_EQ(boost(1000, now - 24h * 365), 10);
    EXPECT_DOUBLE_EQ(boost(-7, now - 24h * 9), 0) << "a damaged count must not make the order undefined";
}

}  // namespace
}  // namespace velmora
