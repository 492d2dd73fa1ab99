#pragma once

#include "platform/qt/controls/control_adapters.h"
