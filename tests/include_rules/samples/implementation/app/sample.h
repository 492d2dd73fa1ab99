#pragma once

#include "platform/linux/linux_system_log.h"
