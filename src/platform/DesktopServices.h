#pragma once
// Chooses and installs the desktop services for the Qt platform Kelp runs on: X11 for "xcb", the
// headless set (no running applications, actions that answer false) for anything else.
#include "platform/Desktop.h"

#include <QString>

namespace kelp {

// The services for a Qt platform name. appsOnDisk is always GIO's.
Desktop makeDesktopServices(const QString &platformName);
// makeDesktopServices(QGuiApplication::platformName()) installed with setDesktop(), keeping the
// icon source and files-on-disk services already installed. Call once the application object
// exists, on the GUI thread.
void installDesktopServices();

// Before the application object exists: makes Qt fall back to the offscreen platform when there
// is no display to connect to (so command-line tools still run), unless QT_QPA_PLATFORM says.
void chooseQtPlatform();

} // namespace kelp
