#include "extras/Logging.h"

Q_LOGGING_CATEGORY(lcCatalogue, "kelp.catalogue", QtInfoMsg)
Q_LOGGING_CATEGORY(lcSettings, "kelp.settings", QtInfoMsg)
Q_LOGGING_CATEGORY(lcExtras, "kelp.extras", QtInfoMsg)
Q_LOGGING_CATEGORY(lcColour, "kelp.colour", QtInfoMsg)
Q_LOGGING_CATEGORY(lcPlatform, "kelp.platform", QtInfoMsg)
Q_LOGGING_CATEGORY(lcIcons, "kelp.icons", QtInfoMsg)
Q_LOGGING_CATEGORY(lcWindow, "kelp.window", QtInfoMsg)
Q_LOGGING_CATEGORY(lcTriggers, "kelp.triggers", QtInfoMsg)
Q_LOGGING_CATEGORY(lcFeedback, "kelp.feedback", QtInfoMsg)
Q_LOGGING_CATEGORY(lcPrefs, "kelp.prefs", QtInfoMsg)
