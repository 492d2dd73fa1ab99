#pragma once

class QApplication;

namespace velunor {

/// The toolkit's application, without a display.
QApplication& offscreenApplication();

}  // namespace velunor
