#pragma once

#include "prompt/delivery.h"
