#include "app/ui/palette/ResultList.h"

#include "app/ui/palette/ResultDelegate.h"
#include "app/ui/palette/ResultListModel.h"
#include "app/ui/widgets/Theme.h"

namespace velmora {

ResultList::ResultList(std::shared_ptr<ResultIcons> icons, QWidget* parent)
    : PassiveList(Theme::listMargin, parent), model_(new ResultListModel), icons_(std::move(icons)) {
    model_->setParent(this);
    setModel(model_);
    setItemDelegate(new ResultDelegate(icons_, this));
    setAccessibleName(QStringLiteral("Results"));
    connect(this, &QListView::clicked, this, [this](const QModelIndex& index) { onClick(index.row()); });
    icons_->onLoaded = [this] { viewport()->update(); };
}

ResultList::~ResultList() {
    icons_->onLoaded = [] {};
}

void ResultList::show(const std::vector<ResultPointer>& results, std::ptrdiff_t selection) {
    model_->setResults(results);
    select(selection);
}

}  // namespace velmora
