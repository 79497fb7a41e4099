#pragma once
// kelp.welcome: the welcome tour, the About window, Kelp's own documents and starting at login.
// (The controller's companions log here; the other subsystems' categories are in
// extras/Logging.h.)
#include <QLoggingCategory>

Q_DECLARE_LOGGING_CATEGORY(lcWelcome)
