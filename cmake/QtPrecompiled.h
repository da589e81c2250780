#pragma once
// As Precompiled.h, for the targets that see Qt.

#include "cmake/Precompiled.h"

#include <QtWidgets>
