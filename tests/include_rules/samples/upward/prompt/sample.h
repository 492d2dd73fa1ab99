#pragma once

#include "window/prompt_view.h"
