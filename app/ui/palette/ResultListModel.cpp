#include "app/ui/palette/ResultListModel.h"

#include "app/ui/widgets/Texts.h"

namespace velmora {

void ResultListModel::setResults(const std::vector<ResultPointer>& results) {
    if (results == results_) return;
    beginResetModel();
    results_ = results;
    endResetModel();
}

int ResultListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(results_.size());
}

QVariant ResultListModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid)) return {};
    const CommandResult& shown = result(index.row());
    switch (role) {
        case Qt::DisplayRole:
            return texts::line(shown.title);
        case Role::subtitle:
            return shown.subtitle ? texts::line(*shown.subtitle) : QString();
        case Qt::AccessibleTextRole:
            return shown.subtitle ? texts::line(shown.title) + QStringLiteral(", ") + texts::line(*shown.subtitle)
                                  : texts::line(shown.title);
        default:
            return {};
    }
}

}  // namespace velmora
