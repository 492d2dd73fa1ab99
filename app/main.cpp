#include <sys/prctl.h>

#include <QApplication>
#include <algorithm>
#include <cstdlib>
#include <string>
#include <system_error>
#include <vector>

#include "agent/globals.h"
#include "agent/linux/settings.h"
#include "agent/linux/texts.h"
#include "app/start_up.h"
#include "platform/linux/directory/directory_service.h"
#include "platform/linux/log/system_log.h"
#include "platform/linux/session/session.h"
#include "platform/posix/process.h"
#include "platform/property_list/property_list_reader.h"
#include "platform/qt/accessibility/accessibility.h"
#include "platform/qt/application/image_reader.h"
#include "platform/qt/application/run_loop.h"
#include "platform/qt/application/text_segmenter.h"
#include "platform/qt/application/toolkit_texts.h"
#include "platform/qt/desktop/display.h"
#include "ui/prompt_window.h"
#include "window/view_controller.h"

namespace {

/// The parts that work without a display, alive from the first step to the last.
struct Machine {
    velunor::LinuxSystemLog log;
    velunor::LinuxProcessInfo processInfo;
    velunor::LinuxProcessExit processExit;
    velunor::SystemClock clock;
    velunor::LinuxProcessActivity activity{log};
    velunor::PropertyListFileReader propertyLists;
    velunor::LinuxChildProcess childProcess;
    velunor::LinuxConsoleUsers consoleUsers;
};

/// What the toolkit's exit(1) calls where it has lost the display: leaves as the program does,
/// before destructors of static objects run under the threads of libraries.
void leaveWithoutDisplay(int status, void* machine) {
    auto& parts = *static_cast<Machine*>(machine);
    parts.log.write("The display was lost");
    parts.processExit.exit(status);
}

/// Leaves as the process does, once the desktop shows nothing of the prompt beside its window.
class PromptExit final : public velunor::ProcessExit {
  public:
    PromptExit(velunor::PromptWindow& window, velunor::LinuxProcessExit& process)
        : window_(window), process_(process) {}

    [[noreturn]] void exit(int status) override {
        window_.leave();
        process_.exit(status);
    }

  private:
    velunor::PromptWindow& window_;
    velunor::LinuxProcessExit& process_;
};

/// Runs the prompt on the desktop until an answer or the session ends the process.
[[noreturn]] void runApplication(int argc, char** argv, Machine& machine,
                                 const velunor::Globals& globals) {
    const std::vector<std::string> arguments(argv, argv + argc);
    velunor::prepareAccessibility();
    // The toolkit would take an update's name such as "-platform" for an option of its own.
    int toolkitArgumentCount = std::min(argc, 1);
    const QApplication qtApplication(toolkitArgumentCount, argv);
    QApplication::setDesktopFileName(QStringLiteral("velunor-os-update"));

    [[maybe_unused]] const auto toolkitTexts =
        velunor::useToolkitTexts(velunor::sessionLanguages());
    velunor::QtRunLoop runLoop;
    const velunor::QtScreens screens;
    const velunor::QtImageReader images;
    const velunor::QtTextSegmenter segmenter;
    velunor::LinuxDirectoryService directory(velunor::loadedSettings().directory);
    velunor::PromptWindow promptWindow;
    promptWindow.localize(
        [&](std::string_view key) { return globals.i18nDefault.getValueForKeyString(key); });
    PromptExit promptExit(promptWindow, machine.processExit);
    velunor::QtWindow window(promptWindow);
    velunor::QtApplication application(promptWindow, window);

    velunor::PromptView view = promptWindow.view();
    view.window = &window;
    velunor::PromptServices services{
        .log = machine.log,
        .runLoop = runLoop,
        .screens = screens,
        .propertyLists = machine.propertyLists,
        .images = images,
        .segmenter = segmenter,
        .processInfo = machine.processInfo,
        .processExit = promptExit,
        .clock = machine.clock,
        .childProcess = machine.childProcess,
        .consoleUsers = machine.consoleUsers,
        .directory = directory,
        .secureTokenTool = velunor::loadedSettings().secureTokenTool,
        .application = {},
    };
    services.application.connect(&application);
    velunor::ViewController controller(arguments, globals, services, view);
    promptWindow.onUpdateNow([&] { controller.updateNow(); });
    promptWindow.onPostpone([&] { controller.postponeDeployment(); });
    promptWindow.onChangeUserName([&] { controller.changeUserName(); });
    promptWindow.onAppear([&] { controller.viewDidAppear(); });

    velunor::AppDelegate delegate(application, machine.activity);
    QObject::connect(&qtApplication, &QCoreApplication::aboutToQuit, &qtApplication,
                     [&] { delegate.applicationWillTerminate(); });
    // Quitting would ask the window first, and it refuses to close.
    velunor::onTerminationSignal([] { QCoreApplication::exit(0); });

    controller.viewDidLoad();
    delegate.applicationDidFinishLaunching();
    promptWindow.present();
    on_exit(leaveWithoutDisplay, &machine);
    // Background work may still use what lives here, so nothing of it is taken down.
    promptExit.exit(QApplication::exec());
}

}  // namespace

int main(int argc, char** argv) {
    // The process will hold a typed password: no core dump, no reading by other programs.
    prctl(PR_SET_DUMPABLE, 0);

    Machine machine;
    // With less the toolkit aborts, or waits without an end for a thread that it could not start.
    if (const int error = velunor::lackOf({.descriptors = 32, .threads = 6}); error != 0) {
        machine.log.write("Too little to start with: " + std::generic_category().message(error));
        machine.processExit.exit(1);
    }
    velunor::Globals globals;
    velunor::fillGlobals(globals, machine.processInfo, machine.log, machine.processExit);
    if (!velunor::prepareDisplay()) {
        machine.log.write("No display can be reached");
        machine.processExit.exit(1);
    }
    runApplication(argc, argv, machine, globals);
}
