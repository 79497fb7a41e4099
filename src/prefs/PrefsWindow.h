#pragma once
// PrefsWindow: the "Kelp Preferences" window. Every setting a user may change has a control here,
// grouped in four tabs (Triggers; Panel and icons; Catalogue; Alerts) and bound live both ways
// through Defaults: a control's change is stored at once and reaches the rest of Kelp through
// Defaults::changed, and a change made elsewhere (another program editing the settings file, the
// panel itself) shows in the control.
//
// What is not a plain binding: the hot key (a pop-up of the key table and four modifier boxes,
// with the reason a taken key could not be registered beside them), the controls shown only while
// Alt is held (the scan depth and the minimised empty cells), the colour pickers, the scan folder
// table, the colour-sorting options sheet, the app remover's chooser, and a Quit button shown only
// while Kelp has no tray icon and no taskbar entry to quit from.
#include <QDialog>
#include <QPointer>

#include <functional>

class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QSpinBox;
class QTabWidget;

namespace kelp {

class ColourSortSheet;
class Defaults;
class ScanFolderTable;
class SettingBindings;

// What the window asks of the rest of Kelp (each may be empty: the question is then not asked).
struct PrefsHooks
{
    // Why the hot key could not be registered; empty when it was.
    std::function<QString()> hotKeyFailure;
    // Whether the menu (and its Quit) is reachable without this window: tray icon or taskbar.
    std::function<bool()> hasMenuAccess;
    std::function<void()> quit;
    // Opens the sheet that excludes applications automatically.
    std::function<void()> autoExcludeApps;
};

class PrefsWindow : public QDialog
{
    Q_OBJECT
public:
    PrefsWindow(Defaults &defaults, PrefsHooks hooks, QWidget *parent = nullptr);
    ~PrefsWindow() override;

    // The colour-sorting options, as a sheet on this window (shown once, then raised).
    void openColorSortingOptions();
    bool isColorSortingOptionsVisible() const;
    // Ends the colour-sorting sheet if it shows, then this window; writes the settings.
    void closePrefs();
    // Escape and the window's close button end it the same way.
    void reject() override;

    // Shows or hides the controls meant for Alt (the scan depth and its labels, the minimised
    // empty cells).
    void setAltControlsShown(bool shown);
    // The Quit button shows only when the menu is out of reach.
    void updateQuitButton();
    // Reads the hot key's registration failure again.
    void updateHotKeyFailure();

    // The app remover: a desktop entry chosen by the user is checked for accepting application
    // files (off the GUI thread) and stored, or refused with an alert.
    void setAppRemover();
    void setAppRemoverFromEntry(const QString &desktopEntryPath);

    QTabWidget *tabs() const { return _tabs; }

Q_SIGNALS:
    // An alert was shown (its message), for whoever watches.
    void alertShown(const QString &message);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    QWidget *makeTriggersTab();
    QWidget *makePanelTab();
    QWidget *makeCatalogueTab();
    QWidget *makeAlertsTab();

    void setHotKey();
    void refreshHotKeyControls();
    void settingChanged(const QString &key);
    void showAlert(const QString &message, const QString &informativeText);

    Defaults &_defaults;
    PrefsHooks _hooks;
    QTabWidget *_tabs = nullptr;
    QComboBox *_hotKeyButton = nullptr;
    QCheckBox *_controlCheckbox = nullptr;
    QCheckBox *_optionCheckbox = nullptr;
    QCheckBox *_commandCheckbox = nullptr;
    QCheckBox *_shiftCheckbox = nullptr;
    QLabel *_hotKeyFailureLabel = nullptr;
    QSpinBox *_scanDepthStepper = nullptr;
    QLabel *_scanDepthLabel1 = nullptr;
    QLabel *_scanDepthLabel2 = nullptr;
    QCheckBox *_minimizeEmptyCellsCheckbox = nullptr;
    QPushButton *_prefsQuitButton = nullptr;
    QLabel *_appRemoverLabel = nullptr;
    ScanFolderTable *_scanFolders = nullptr;
    QPointer<ColourSortSheet> _colourSortSheet;
    SettingBindings *_bind = nullptr;
    int _appRemoverCheck = 0; // the chooser's latest answer, so an older check cannot win
};

} // namespace kelp
