#pragma once
// One logging category per subsystem. Enable with e.g.
// QT_LOGGING_RULES="kelp.catalogue.debug=true".
#include <QLoggingCategory>

Q_DECLARE_LOGGING_CATEGORY(lcCatalogue) // kelp.catalogue: scanning, groups, catalogue files
Q_DECLARE_LOGGING_CATEGORY(lcSettings)  // kelp.settings: the settings store
Q_DECLARE_LOGGING_CATEGORY(lcExtras)    // kelp.extras: property lists, files, helpers
Q_DECLARE_LOGGING_CATEGORY(lcColour)    // kelp.colour: the Qt side of icon colour analysis
Q_DECLARE_LOGGING_CATEGORY(lcPlatform)  // kelp.platform: the desktop layer
Q_DECLARE_LOGGING_CATEGORY(lcIcons)     // kelp.icons: icon loading
Q_DECLARE_LOGGING_CATEGORY(lcWindow)    // kelp.window: the panel's views
Q_DECLARE_LOGGING_CATEGORY(lcTriggers) // kelp.triggers: hot key, hot spot, tray icon, access alerts
Q_DECLARE_LOGGING_CATEGORY(lcFeedback) // kelp.feedback: the feedback form, crash and hang reports
Q_DECLARE_LOGGING_CATEGORY(lcPrefs)    // kelp.prefs: the preferences window and its sheets
