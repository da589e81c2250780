#pragma once

#include "core/commands/Commands.h"

#include <QAbstractListModel>
#include <vector>

namespace velmora {

/// The rows of the result list. Texts are converted when a row is asked for, which only the visible ones are.
class ResultListModel final : public QAbstractListModel {
  public:
    enum Role { subtitle = Qt::UserRole };

    /// Takes the list over; nothing happens when it is the one that is shown already.
    void setResults(const std::vector<ResultPointer>& results);

    [[nodiscard]] const CommandResult& result(int row) const { return *results_[static_cast<std::size_t>(row)]; }

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    /// The title, the subtitle, and "title, subtitle" for assistive technology, each as one line.
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;

  private:
    std::vector<ResultPointer> results_;
};

}  // namespace velmora
