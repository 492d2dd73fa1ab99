#pragma once

#include <QtCore/QString>
