#pragma once

#include "toolkit/TextView.h"

namespace velmora {

/// A text view that looks like the rest of the palette.
class PassiveText final : public TextView {
  public:
    explicit PassiveText(QWidget* parent);

    void show(const QString& text);
};

}  // namespace velmora
