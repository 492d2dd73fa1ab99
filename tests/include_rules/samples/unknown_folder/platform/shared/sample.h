#pragma once

#include "platform/text.h"
