#pragma once

#include "platform/linux/log/system_log.h"
