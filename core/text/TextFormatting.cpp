// Numbers, sizes and times in words of the user's locale.

#include "core/text/Text.h"

#include <unicode/calendar.h>
#include <unicode/datefmt.h>
#include <unicode/locid.h>
#include <unicode/measunit.h>
#include <unicode/numberformatter.h>
#include <unicode/reldatefmt.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>

namespace velmora::text {
namespace {

std::string encoded(const icu::UnicodeString& text) {
    std::string result;
    text.toUTF8String(result);
    return result;
}

double wholeDaysBetween(TimePoint then, TimePoint now) {
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::Calendar> calendar(icu::Calendar::createInstance(status));
    if (U_FAILURE(status)) return 0;
    const auto startOfDay = [&](TimePoint time) {
        calendar->setTime(secondsSince1970(time) * 1000, status);
        for (const auto field : {UCAL_HOUR_OF_DAY, UCAL_MINUTE, UCAL_SECOND, UCAL_MILLISECOND})
            calendar->set(field, 0);
        return calendar->getTime(status);
    };
    const double from = startOfDay(then);
    const double to = startOfDay(now);
    return U_SUCCESS(status) ? std::round((to - from) / 86'400'000.0) : 0;
}

}  // namespace

std::string relativeTime(TimePoint then, TimePoint now) {
    const double seconds = secondsSince1970(now) - secondsSince1970(then);
    const double age = std::abs(seconds);
    const double days = std::max(1.0, std::abs(wholeDaysBetween(then, now)));
    struct Unit {
        double limit;  // in seconds
        double amount;
        URelativeDateTimeUnit unit;
    };
    const std::array<Unit, 7> units{{
        {1, 0, UDAT_REL_UNIT_SECOND},
        {60, age, UDAT_REL_UNIT_SECOND},
        {3600, age / 60, UDAT_REL_UNIT_MINUTE},
        {86'400, age / 3600, UDAT_REL_UNIT_HOUR},
        {7 * 86'400.0, days, UDAT_REL_UNIT_DAY},
        {30 * 86'400.0, days / 7, UDAT_REL_UNIT_WEEK},
        {365 * 86'400.0, days / 30, UDAT_REL_UNIT_MONTH},
    }};
    Unit chosen{0, days / 365, UDAT_REL_UNIT_YEAR};
    for (const Unit& unit : units) {
        if (age < unit.limit) {
            chosen = unit;
            break;
        }
    }
    // Rounded towards now, as an age is counted.
    const double amount = std::floor(chosen.amount) * (seconds < 0 ? 1 : -1);
    UErrorCode status = U_ZERO_ERROR;
    const icu::RelativeDateTimeFormatter formatter(icu::Locale::getDefault(), status);
    icu::UnicodeString phrase;
    formatter.format(amount, chosen.unit, phrase, status);
    return U_SUCCESS(status) ? encoded(phrase) : std::string();
}

std::string formattedCount(std::size_t count) {
    UErrorCode status = U_ZERO_ERROR;
    const auto formatted = icu::number::NumberFormatter::withLocale(icu::Locale::getDefault())
                               .formatInt(static_cast<std::int64_t>(count), status);
    const icu::UnicodeString text = formatted.toString(status);
    return U_SUCCESS(status) ? encoded(text) : std::to_string(count);
}

std::string formattedDate(TimePoint time) {
    const std::unique_ptr<icu::DateFormat> format(
        icu::DateFormat::createDateTimeInstance(icu::DateFormat::kMedium, icu::DateFormat::kShort));
    icu::UnicodeString text;
    if (format) format->format(secondsSince1970(time) * 1000, text);
    return encoded(text);
}

std::string formattedNumericDate(TimePoint time) {
    // Finding a locale's pattern takes a thousand times as long as using it, and a formatter serves one thread only.
    thread_local const std::unique_ptr<icu::DateFormat> format = [] {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::DateFormat> made(
            icu::DateFormat::createInstanceForSkeleton("yMdjm", icu::Locale::getDefault(), status));
        return U_SUCCESS(status) ? std::move(made) : nullptr;
    }();
    icu::UnicodeString text;
    if (format) format->format(secondsSince1970(time) * 1000, text);
    return encoded(text);
}

std::string formattedByteCount(std::int64_t bytes) {
    struct Unit {
        double size;
        icu::MeasureUnit unit;
        int fractionDigits;
        UNumberUnitWidth width;
    };
    // As many digits as tell two files apart: none for kilobytes, one for megabytes, two above.
    static const auto* const units = new std::array<Unit, 5>{{
        // NOLINT(cppcoreguidelines-owning-memory): never destroyed
        {1e12, icu::MeasureUnit::getTerabyte(), 2, UNUM_UNIT_WIDTH_SHORT},
        {1e9, icu::MeasureUnit::getGigabyte(), 2, UNUM_UNIT_WIDTH_SHORT},
        {1e6, icu::MeasureUnit::getMegabyte(), 1, UNUM_UNIT_WIDTH_SHORT},
        {1e3, icu::MeasureUnit::getKilobyte(), 0, UNUM_UNIT_WIDTH_SHORT},
        {1, icu::MeasureUnit::getByte(), 0, UNUM_UNIT_WIDTH_FULL_NAME},
    }};
    const auto size = static_cast<double>(std::max<std::int64_t>(bytes, 0));
    const auto fits = [size](const Unit& unit) {
        // 999.6 KB is a megabyte once it is rounded.
        const double rounding = unit.size == 1 ? 0 : unit.size / 1000 / 2;
        return size >= unit.size - rounding;
    };
    const auto found = std::find_if(units->begin(), units->end(), fits);
    const Unit& unit = found == units->end() ? units->back() : *found;
    UErrorCode status = U_ZERO_ERROR;
    const auto formatted = icu::number::NumberFormatter::withLocale(icu::Locale::getDefault())
                               .unit(unit.unit)
                               .unitWidth(unit.width)
                               .precision(icu::number::Precision::maxFraction(unit.fractionDigits))
                               .formatDouble(size / unit.size, status);
    const icu::UnicodeString text = formatted.toString(status);
    return U_SUCCESS(status) ? encoded(text) : std::to_string(bytes);
}

}  // namespace velmora::text
