#include "app/storage/sqlite/Row.h"

#include <charconv>
#include <cmath>
#include <utility>

namespace velmora {
namespace {

/// Reads the whole of `text` as a number, independently of the locale.
template <class Number>
std::optional<Number> parsed(std::optional<std::string_view> text) {
    if (!text) return std::nullopt;
    std::string_view digits = *text;
    if (digits.size() > 1 && digits[0] == '+' && digits[1] != '-') digits.remove_prefix(1);
    Number number{};
    const char* const begin = digits.data();
    const char* const end = begin + digits.size();
    const auto [stop, error] = std::from_chars(begin, end, number);
    if (error != std::errc{} || stop != end) return std::nullopt;
    return number;
}

}  // namespace

Row::Row(std::shared_ptr<const Columns> columns) : columns_(std::move(columns)) {
    cells_.reserve(columns_->size());
}

void Row::append(std::optional<std::string_view> value) {
    if (value) text_ += *value;
    cells_.push_back({text_.size(), value.has_value()});
}

std::optional<std::string_view> Row::text(std::string_view column) const {
    for (std::size_t i = cells_.size(); i-- > 0;) {
        if (!cells_[i].present || (*columns_)[i] != column) continue;
        const std::size_t start = i == 0 ? 0 : cells_[i - 1].end;
        return std::string_view(text_).substr(start, cells_[i].end - start);
    }
    return std::nullopt;
}

std::optional<std::int64_t> Row::integer(std::string_view column) const {
    return parsed<std::int64_t>(text(column));
}

std::optional<double> Row::number(std::string_view column) const {
    const auto number = parsed<double>(text(column));
    return number && std::isfinite(*number) ? number : std::nullopt;
}

std::optional<TimePoint> Row::time(std::string_view column) const {
    const auto seconds = number(column);
    return seconds ? std::optional(timeFromSeconds(*seconds)) : std::nullopt;
}

}  // namespace velmora
