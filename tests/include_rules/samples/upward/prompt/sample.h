#pragma once

#include "window/outlets.h"
