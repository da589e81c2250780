#include "app/ui/widgets/PassiveText.h"

#include "app/ui/widgets/SlimScrollBar.h"

namespace velmora {

PassiveText::PassiveText(QWidget* parent) : TextView(parent) {
    setVerticalScrollBar(new SlimScrollBar(this));
}

void PassiveText::show(const QString& text) {
    setText(std::make_shared<const std::string>(text.toStdString()));
}

}  // namespace velmora
