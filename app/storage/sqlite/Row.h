#pragma once

#include "core/async/Clock.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmora {

/// One row of a query's result: the text of each column by the column's name.
///
/// A NULL column is absent. Where several columns share a name, the last one that is not NULL counts. Integers read as
/// decimal digits, reals in SQLite's own text form. Values may hold any bytes, NUL and invalid UTF-8 included.
/// Views returned here are into the row.
class Row {
  public:
    using Columns = std::vector<std::string>;

    /// A row without values yet; `columns` is shared by all rows of one result.
    explicit Row(std::shared_ptr<const Columns> columns);

    /// Gives the next column its value; nothing for NULL.
    void append(std::optional<std::string_view> value);

    [[nodiscard]] std::optional<std::string_view> text(std::string_view column) const;

    /// The column as a decimal integer, "+" or "-" allowed; nothing when absent, malformed or beyond 64 bits.
    [[nodiscard]] std::optional<std::int64_t> integer(std::string_view column) const;

    /// The column as a finite decimal number; nothing when absent or malformed.
    [[nodiscard]] std::optional<double> number(std::string_view column) const;

    /// The column as seconds since 1970.
    [[nodiscard]] std::optional<TimePoint> time(std::string_view column) const;

    /// True exactly when the column reads "1".
    [[nodiscard]] bool boolean(std::string_view column) const { return text(column) == "1"; }

  private:
    struct Cell {
        std::size_t end;
        bool present;
    };

    std::shared_ptr<const Columns> columns_;
    std::vector<Cell> cells_;
    std::string text_;  // all values, one after another
};

}  // namespace velmora
