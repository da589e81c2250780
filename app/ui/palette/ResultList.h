#pragma once

#include "app/ui/icons/ResultIcons.h"
#include "app/ui/widgets/PassiveList.h"

#include <functional>
#include <vector>

namespace velmora {

class ResultListModel;

/// The list of results. It shows the selection it is given and reports clicks.
class ResultList final : public PassiveList {
  public:
    ResultList(std::shared_ptr<ResultIcons> icons, QWidget* parent);
    ~ResultList() override;

    void show(const std::vector<ResultPointer>& results, std::ptrdiff_t selection);

    std::function<void(std::ptrdiff_t row)> onClick = [](std::ptrdiff_t) {};

  private:
    ResultListModel* model_;
    std::shared_ptr<ResultIcons> icons_;
};

}  // namespace velmora
