#pragma once
// Every setting Kelp reads or writes, one line each: the C++ name (used as Key::Name), the key in
// the settings file, the value's type, the owner that registers its default, and the default.
//
// Adding a setting is adding one line here. Types: qint64 (integers), double (reals), bool,
// QString, QVariantList (arrays), QColor (stored as device RGBA, four reals in 0..1) and
// QDateTime. Owner `Program` marks values Kelp stores but registers no default for; their default
// column is what a read gives before anything was stored.
//
// Included only by settings/Settings.h and settings/Settings.cpp, which expand the table.

// clang-format off
#define KELP_SETTINGS_TABLE(X)                                                                       \
    /* The controller: triggers, the panel's life, alerts. */                                      \
    X(HotKeyCode,                      hotKeyCode,                      qint64,       Controller,  qint64(48))   \
    X(HotKeyModifiers,                 hotKeyModifiers,                 qint64,       Controller,  qint64(4096)) \
    X(StartAtLogin,                    startAtLogin,                    bool,         Controller,  false)        \
    X(ShowAppInStatusBar,              showAppInStatusBar,              bool,         Controller,  true)         \
    X(StatusBarTogglesWindow,          statusBarTogglesWindow,          bool,         Controller,  true)         \
    X(ShowIconInDock,                  showIconInDock,                  bool,         Controller,  true)         \
    X(ShowOnBecomeActive,              showOnBecomeActive,              bool,         Controller,  false)        \
    X(HideOnResignActive,              hideOnResignActive,              bool,         Controller,  false)        \
    X(NonActivatingPanel,              nonActivatingPanel,              bool,         Controller,  false)        \
    X(TabletMode,                      tabletMode,                      bool,         Controller,  false)        \
    X(TabletHandedness,                tabletHandedness,                qint64,       Controller,  qint64(1))    \
    X(ShowNoMouseAccessWarning,        showNoMouseAccessWarning,        bool,         Controller,  true)         \
    X(ShowNoUIAccessWarning,           showNoUIAccessWarning,           bool,         Controller,  true)         \
    X(CursorHotSpotLocation,           cursorHotSpotLocation,           qint64,       Controller,  qint64(0))    \
    X(HighlightHotSpots,               highlightHotSpots,               bool,         Controller,  false)        \
    X(CursorHotSpotDelay,              cursorHotSpotDelay,              double,       Controller,  0.35)         \
    X(IgnoreCursorHotSpotDelayOnHide,  ignoreCursorHotSpotDelayOnHide,  bool,         Controller,  true)         \
    X(GroupToShowWhenWindowOpens,      groupToShowWhenWindowOpens,      qint64,       Controller,  qint64(1))    \
    X(GroupShownWhenWindowClosed,      groupShownWhenWindowClosed,      qint64,       Controller,  qint64(-1))   \
    X(ShowWindowAtLaunch,              showWindowAtLaunch,              bool,         Controller,  true)         \
    /* The desktop-file ID of the program that deletes an application dropped on it; none until */ \
    /* the user picks one (no Linux package of the usual remover exists). */                       \
    X(AppRemoverBundleIdentifier,      appRemoverBundleIdentifier,      QString,      Controller,  QString())    \
    X(AppRemoverName,                  appRemoverName,                  QString,      Controller,  QStringLiteral("AppCleaner")) \
    /* The catalogue: sorting, colour sort, exclusions, the walk, icons. */                        \
    X(GroupContentsSortOrder,          groupContentsSortOrder,          qint64,       Catalogue,   qint64(1))    \
    X(ColorSortGrayThreshold,          colorSortGrayThreshold,          double,       Catalogue,   0.05)         \
    X(ColorSortWrapHue,                colorSortWrapHue,                double,       Catalogue,   0.0)          \
    X(ColorSortMinSaturation,          colorSortMinSaturation,          double,       Catalogue,   0.14)         \
    X(ColorSortMinLuminosity,          colorSortMinLuminosity,          double,       Catalogue,   0.02)         \
    X(ColorSortGraysBySecondaryColor,  colorSortGraysBySecondaryColor,  bool,         Catalogue,   false)        \
    X(ExcludeArray,                    excludeArray,                    QVariantList, Catalogue,   QVariantList()) \
    X(MaxFolderRecursionDepth,         maxFolderRecursionDepth,         qint64,       Catalogue,   qint64(4))    \
    X(SortRunningByLaunchOrder,        sortRunningByLaunchOrder,        bool,         Catalogue,   true)         \
    /* Empty: the desktop's own icon theme. */                                                     \
    X(IconThemeName,                   iconThemeName,                   QString,      Catalogue,   QString())    \
    /* The icon grid. */                                                                           \
    X(GroupOrientation,                groupOrientation,                qint64,       IconView,    qint64(2))    \
    X(IconReadingOrder,                iconReadingOrder,                qint64,       IconView,    qint64(1))    \
    X(MaximumIconSize,                 maximumIconSize,                 qint64,       IconView,    qint64(64))   \
    X(IconPadding,                     iconPadding,                     qint64,       IconView,    qint64(2))    \
    X(IconSpacing,                     iconSpacing,                     qint64,       IconView,    qint64(0))    \
    X(ExcludedIconAlpha,               excludedIconAlpha,               double,       IconView,    0.15)         \
    X(DrawFilledIconHighlight,         drawFilledIconHighlight,         bool,         IconView,    true)         \
    X(DrawStrokedIconHighlight,        drawStrokedIconHighlight,        bool,         IconView,    false)        \
    X(IconHighlightColour,             iconHighlightColor,              QColor,       IconView,    QColor::fromRgbF(1, 0, 0, 1)) \
    X(ReverseScrollWheel,              reverseScrollWheel,              bool,         IconView,    false)        \
    X(MinimizeEmptyCells,              minimizeEmptyCells,              bool,         IconView,    false)        \
    /* The panel. */                                                                               \
    X(WindowAlpha,                     windowAlpha,                     double,       Window,      0.85)         \
    X(WindowColour,                    windowColor,                     QColor,       Window,      QColor::fromRgbF(0, 0, 0, 1)) \
    X(WindowBorderColour,              windowBorderColor,               QColor,       Window,      QColor::fromRgbF(1, 1, 1, 1)) \
    X(DrawWindowBorder,                drawWindowBorder,                bool,         Window,      false)        \
    X(AnimateWindowResizing,           animateWindowResizing,           bool,         Window,      false)        \
    /* On Wayland with layer surfaces: 0 above everything, fullscreen windows too; 1 under them. */ \
    X(PanelLayer,                      panelLayer,                      qint64,       Window,      qint64(0))    \
    /* The welcome assistant. */                                                                   \
    X(ShowWelcomeWindow,               showWelcomeWindow,               bool,         Welcome,     true)         \
    X(LastShownWelcomeStep,            lastShownWelcomeStep,            qint64,       Welcome,     qint64(0))    \
    /* The scan folders: {"path": folder} records, the desktop's application folders at first. */  \
    X(SearchDirectories,               searchDirectories,               QVariantList, ScanFolders, defaultSearchDirectories()) \
    /* Stored by Kelp, never registered. */                                                        \
    X(ApplicationLaunchCount,          applicationLaunchCount,          qint64,       Program,     qint64(0))    \
    X(LastCrashCheckTime,              WFLastCrashCheckTime,            QDateTime,    Program,     QDateTime())  \
    X(FeedbackEmailAddress,            OFLastEmailAddress,              QString,      Program,     QString())    \
    /* The folder list of older versions (plain paths), moved to searchDirectories at start. */    \
    X(ScanDirectories,                 scanDirectories,                 QVariantList, Program,     QVariantList())
// clang-format on
