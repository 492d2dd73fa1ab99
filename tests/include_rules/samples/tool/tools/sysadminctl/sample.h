#pragma once

#include "window/view_controller.h"
