#include "prefs/PrefsWindow.h"

#include "catalogue/FolderWalker.h"
#include "desktop/Desktop.h"
#include "desktop/FileTypeApps.h"
#include "desktop/HotKeys.h"
#include "desktop/PanelSurface.h"
#include "extras/Logging.h"
#include "prefs/ColourSortSheet.h"
#include "prefs/ScanFolderTable.h"
#include "prefs/SettingBindings.h"
#include "settings/Defaults.h"
#include "settings/ValueTransformers.h"
#include "triggers/KeyTable.h"
#include "triggers/VirtualKeys.h"
#include "window/IconGridLayout.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QDoubleSpinBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QSpinBox>
#include <QTabWidget>
#include <QThreadPool>
#include <QVBoxLayout>

namespace kelp {

namespace {

// The limits Kelp applies when it reads these settings.
constexpr int kLargestIconSize = GridSettings::kLargestIconSize;
constexpr int kSmallestPadding = GridSettings::kSmallestPadding;
constexpr int kLargestPadding = GridSettings::kLargestPadding;
constexpr int kLargestSpacing = GridSettings::kLargestSpacing;
constexpr int kLargestScanDepth = FolderWalker::kDeepestScan;

// A label for a control, which also names the control for screen readers.
QLabel *labelFor(const QString &text, QWidget *control, QWidget *parent)
{
    auto *label = new QLabel(text, parent);
    label->setBuddy(control);
    control->setAccessibleName(QString(text).remove(QLatin1Char('&')).remove(QLatin1Char(':')));
    return label;
}

QWidget *withStretch(QWidget *inner)
{
    auto *page = new QWidget;
    auto *layout = new QVBoxLayout(page);
    layout->addWidget(inner);
    layout->addStretch();
    return page;
}

} // namespace

PrefsWindow::PrefsWindow(Defaults &defaults, PrefsHooks hooks, QWidget *parent)
    : QDialog(parent), _defaults(defaults), _hooks(std::move(hooks))
{
    setObjectName(QStringLiteral("prefWindow"));
    setWindowTitle(tr("Kelp Preferences"));
    setAccessibleName(tr("Kelp Preferences"));
    setAttribute(Qt::WA_QuitOnClose, false);
    _bind = new SettingBindings(_defaults, this);

    _tabs = new QTabWidget(this);
    _tabs->setAccessibleName(tr("Preferences"));
    _tabs->addTab(makeTriggersTab(), tr("&Triggers"));
    _tabs->addTab(makePanelTab(), tr("&Panel and icons"));
    _tabs->addTab(makeCatalogueTab(), tr("&Catalogue"));
    _tabs->addTab(makeAlertsTab(), tr("&Alerts"));

    auto *buttons = new QDialogButtonBox(this);
    _prefsQuitButton = buttons->addButton(tr("&Quit Kelp"), QDialogButtonBox::DestructiveRole);
    _prefsQuitButton->setObjectName(QStringLiteral("prefsQuitButton"));
    _prefsQuitButton->setAccessibleName(tr("Quit Kelp"));
    QPushButton *close = buttons->addButton(QDialogButtonBox::Close);
    close->setAccessibleName(tr("Close the preferences"));
    connect(close, &QPushButton::clicked, this, &PrefsWindow::closePrefs);
    connect(_prefsQuitButton, &QPushButton::clicked, this, [this]() {
        closePrefs();
        if (_hooks.quit) _hooks.quit();
    });

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(_tabs);
    layout->addWidget(buttons);

    connect(
        &_defaults, &Defaults::changed, this,
        [this](const QString &key, const QVariant &, const QVariant &) { settingChanged(key); });
    // The desktop reports Alt while Kelp is in front even when the key went to another window.
    if (const auto hotKeys = desktop().hotKeys)
        connect(hotKeys.get(), &HotKeys::modifiersChanged, this, [this](Qt::KeyboardModifiers m) {
            if (isVisible()) setAltControlsShown(m.testFlag(Qt::AltModifier));
        });
    // Return finishes a typed value and never closes the window: no button is the default.
    for (QPushButton *button : findChildren<QPushButton *>()) {
        button->setAutoDefault(false);
        button->setDefault(false);
    }
    setAltControlsShown(false);
    updateQuitButton();
    updateHotKeyFailure();
}

PrefsWindow::~PrefsWindow()
{
    qApp->removeEventFilter(this);
}

// --- Tabs -----------------------------------------------------------------------------------

QWidget *PrefsWindow::makeTriggersTab()
{
    auto *page = new QWidget;
    auto *layout = new QVBoxLayout(page);

    // The hot key: the key table's names and the four modifiers.
    auto *hotKey = new QGroupBox(tr("Hot key"), page);
    auto *hotKeyLayout = new QVBoxLayout(hotKey);
    _hotKeyButton = new QComboBox(hotKey);
    _hotKeyButton->setObjectName(QStringLiteral("hotKeyButton"));
    for (const KeyRecord &record : builtInKeyTable().records) {
        const QString title = record.value(QStringLiteral("title"));
        const QString tag = record.value(QStringLiteral("tag"));
        bool ok = false;
        const int code = tag.toInt(&ok);
        // Only keys a keyboard has, and the row for no hot key.
        if (title.isEmpty() || !ok || (code >= 0 && !chordForHotKey(code, 0))) continue;
        _hotKeyButton->addItem(title, code);
    }
    _controlCheckbox = new QCheckBox(tr("Ctrl"), hotKey);
    _controlCheckbox->setObjectName(QStringLiteral("controlCheckbox"));
    _optionCheckbox = new QCheckBox(tr("Alt"), hotKey);
    _optionCheckbox->setObjectName(QStringLiteral("optionCheckbox"));
    _commandCheckbox = new QCheckBox(tr("Super"), hotKey);
    _commandCheckbox->setObjectName(QStringLiteral("commandCheckbox"));
    _shiftCheckbox = new QCheckBox(tr("Shift"), hotKey);
    _shiftCheckbox->setObjectName(QStringLiteral("shiftCheckbox"));
    auto *keyRow = new QHBoxLayout;
    keyRow->addWidget(labelFor(tr("&Key:"), _hotKeyButton, hotKey));
    keyRow->addWidget(_hotKeyButton, 1);
    for (QCheckBox *box : {_controlCheckbox, _optionCheckbox, _commandCheckbox, _shiftCheckbox}) {
        box->setAccessibleName(tr("Hot key with %1").arg(box->text()));
        keyRow->addWidget(box);
        connect(box, &QCheckBox::toggled, this, &PrefsWindow::setHotKey);
    }
    connect(_hotKeyButton, &QComboBox::activated, this, &PrefsWindow::setHotKey);
    _hotKeyFailureLabel = new QLabel(hotKey);
    _hotKeyFailureLabel->setObjectName(QStringLiteral("hotKeyFailure"));
    _hotKeyFailureLabel->setAccessibleName(tr("Hot key problem"));
    _hotKeyFailureLabel->setWordWrap(true);
    _hotKeyFailureLabel->setStyleSheet(QStringLiteral("color: #b00000;"));
    hotKeyLayout->addLayout(keyRow);
    hotKeyLayout->addWidget(_hotKeyFailureLabel);
    refreshHotKeyControls();
    layout->addWidget(hotKey);

    // The hot spot.
    auto *hotSpot = new QGroupBox(tr("Hot spot"), page);
    auto *spotForm = new QFormLayout(hotSpot);
    QComboBox *location = _bind->choice(Key::CursorHotSpotLocation, {{tr("None"), 0},
                                                                     {tr("Top-left corner"), 1},
                                                                     {tr("Left edge"), 2},
                                                                     {tr("Bottom-left corner"), 3},
                                                                     {tr("Bottom edge"), 4},
                                                                     {tr("Bottom-right corner"), 5},
                                                                     {tr("Right edge"), 6},
                                                                     {tr("Top-right corner"), 7},
                                                                     {tr("Top edge"), 8}});
    spotForm->addRow(labelFor(tr("&Location:"), location, hotSpot), location);
    QDoubleSpinBox *delay = _bind->real(Key::CursorHotSpotDelay, 0.0, 10.0, 1.0, 2, tr(" s"));
    spotForm->addRow(labelFor(tr("&Delay before opening:"), delay, hotSpot), delay);
    spotForm->addRow(
        _bind->check(Key::IgnoreCursorHotSpotDelayOnHide, tr("Close at once, without the delay")));
    spotForm->addRow(_bind->check(Key::HighlightHotSpots, tr("Show the hot spot while inside it")));
    layout->addWidget(hotSpot);

    // The tray icon, the taskbar and Kelp's life.
    auto *other = new QGroupBox(tr("Tray, taskbar and start"), page);
    auto *otherLayout = new QVBoxLayout(other);
    otherLayout->addWidget(
        _bind->check(Key::ShowAppInStatusBar, tr("Show Kelp's icon in the tray")));
    otherLayout->addWidget(
        _bind->check(Key::StatusBarTogglesWindow, tr("A click on the tray icon opens the panel")));
    otherLayout->addWidget(_bind->check(Key::ShowIconInDock, tr("Show the panel in the taskbar")));
    otherLayout->addWidget(_bind->check(Key::StartAtLogin, tr("Start Kelp when I log in")));
    otherLayout->addWidget(
        _bind->check(Key::ShowWindowAtLaunch, tr("Show the panel when Kelp starts")));
    layout->addWidget(other);
    layout->addStretch();
    return page;
}

QWidget *PrefsWindow::makePanelTab()
{
    auto *page = new QWidget;
    auto *layout = new QVBoxLayout(page);

    auto *icons = new QGroupBox(tr("Icons"), page);
    auto *form = new QFormLayout(icons);
    QSpinBox *size = _bind->spin(Key::MaximumIconSize, 16, kLargestIconSize, tr(" px"));
    form->addRow(labelFor(tr("Largest icon &size:"), size, icons), size);
    QSpinBox *padding = _bind->spin(Key::IconPadding, kSmallestPadding, kLargestPadding, tr(" px"));
    form->addRow(labelFor(tr("Icon pa&dding:"), padding, icons), padding);
    QSpinBox *spacing = _bind->spin(Key::IconSpacing, 0, kLargestSpacing, tr(" px"));
    form->addRow(labelFor(tr("Icon spac&ing:"), spacing, icons), spacing);
    QComboBox *orientation = _bind->choice(
        Key::GroupOrientation,
        {{tr("No bunches"), 0}, {tr("Bunches in rows"), 1}, {tr("Bunches in columns"), 2}});
    form->addRow(labelFor(tr("Favourites in &bunches:"), orientation, icons), orientation);
    QComboBox *reading = _bind->choice(
        Key::IconReadingOrder,
        {{tr("Across the rows"), 1}, {tr("Down the columns"), 2}, {tr("As the bunches run"), 0}});
    form->addRow(labelFor(tr("Icons &read:"), reading, icons), reading);
    QDoubleSpinBox *excluded =
        _bind->real(Key::ExcludedIconAlpha, 0.0, 1.0, 100.0, 0, QStringLiteral(" %"));
    form->addRow(labelFor(tr("E&xcluded icons' opacity:"), excluded, icons), excluded);
    form->addRow(_bind->check(Key::DrawFilledIconHighlight,
                              tr("Fill the highlight of running applications")));
    form->addRow(_bind->check(Key::DrawStrokedIconHighlight,
                              tr("Frame the highlight of running applications")));
    QPushButton *highlight = _bind->colour(Key::IconHighlightColour, tr("Highlight colour"));
    form->addRow(labelFor(tr("&Highlight colour:"), highlight, icons), highlight);
    QLineEdit *theme = _bind->line(Key::IconThemeName);
    theme->setPlaceholderText(tr("The desktop's theme"));
    form->addRow(labelFor(tr("Icon th&eme:"), theme, icons), theme);
    _minimizeEmptyCellsCheckbox =
        _bind->check(Key::MinimizeEmptyCells, tr("Leave out empty cells (Alt)"));
    _minimizeEmptyCellsCheckbox->setObjectName(QStringLiteral("minimizeEmptyCellsCheckbox"));
    form->addRow(_minimizeEmptyCellsCheckbox);
    layout->addWidget(icons);

    auto *panel = new QGroupBox(tr("Panel"), page);
    auto *panelForm = new QFormLayout(panel);
    QDoubleSpinBox *alpha = _bind->real(Key::WindowAlpha, 0.0, 1.0, 100.0, 0, QStringLiteral(" %"));
    panelForm->addRow(labelFor(tr("&Opacity:"), alpha, panel), alpha);
    QPushButton *colour = _bind->colour(Key::WindowColour, tr("Panel colour"));
    panelForm->addRow(labelFor(tr("Panel co&lour:"), colour, panel), colour);
    panelForm->addRow(_bind->check(Key::DrawWindowBorder, tr("Draw a border")));
    QPushButton *border = _bind->colour(Key::WindowBorderColour, tr("Border colour"));
    panelForm->addRow(labelFor(tr("Border colo&ur:"), border, panel), border);
    panelForm->addRow(_bind->check(Key::AnimateWindowResizing, tr("Animate resizing")));
    QComboBox *level = _bind->choice(
        Key::PanelLayer, {{tr("Above every window"), 0}, {tr("Under fullscreen windows"), 1}});
    const auto surface = desktop().panelSurface;
    if (!surface || !surface->choosesLayer()) {
        level->setEnabled(false);
        level->setToolTip(tr("The panel's level can be chosen on Wayland compositors with layer "
                             "surfaces (sway, KDE Plasma) only."));
    }
    panelForm->addRow(labelFor(tr("Panel &level:"), level, panel), level);
    QComboBox *group =
        _bind->choice(Key::GroupToShowWhenWindowOpens, {{tr("The group shown last"), -1},
                                                        {tr("Running"), 0},
                                                        {tr("Favourites"), 8},
                                                        {tr("Included"), 1},
                                                        {tr("All"), 5},
                                                        {tr("Excluded"), 3},
                                                        {tr("Missing"), 7}});
    panelForm->addRow(labelFor(tr("&Group shown on opening:"), group, panel), group);
    panelForm->addRow(_bind->check(Key::ReverseScrollWheel, tr("Reverse the scroll wheel")));
    panelForm->addRow(_bind->check(Key::TabletMode, tr("Pen tablet mode")));
    QComboBox *hand =
        _bind->choice(Key::TabletHandedness, {{tr("Right hand"), 1}, {tr("Left hand"), 0}});
    panelForm->addRow(labelFor(tr("The pen is in the:"), hand, panel), hand);
    layout->addWidget(panel);
    layout->addStretch();
    return page;
}

QWidget *PrefsWindow::makeCatalogueTab()
{
    auto *page = new QWidget;
    auto *layout = new QVBoxLayout(page);

    auto *folders = new QGroupBox(tr("Folders to scan"), page);
    auto *foldersLayout = new QVBoxLayout(folders);
    _scanFolders = new ScanFolderTable(_defaults, folders);
    foldersLayout->addWidget(_scanFolders);
    auto *depthRow = new QHBoxLayout;
    _scanDepthStepper = _bind->spin(Key::MaxFolderRecursionDepth, 1, kLargestScanDepth);
    _scanDepthStepper->setObjectName(QStringLiteral("scanDepthStepper"));
    _scanDepthLabel1 = labelFor(tr("Look into folders &up to"), _scanDepthStepper, folders);
    _scanDepthLabel2 = new QLabel(tr("levels deep"), folders);
    _scanDepthStepper->setAccessibleName(tr("Scan depth in levels"));
    depthRow->addWidget(_scanDepthLabel1);
    depthRow->addWidget(_scanDepthStepper);
    depthRow->addWidget(_scanDepthLabel2);
    depthRow->addStretch();
    foldersLayout->addLayout(depthRow);
    layout->addWidget(folders);

    auto *sorting = new QGroupBox(tr("Order"), page);
    auto *form = new QFormLayout(sorting);
    auto *orderRow = new QHBoxLayout;
    QComboBox *order = _bind->choice(Key::GroupContentsSortOrder,
                                     {{tr("Name"), 1}, {tr("Path"), 0}, {tr("Colour"), 2}});
    auto *colourOptions = new QPushButton(tr("Colour &Options…"), sorting);
    colourOptions->setAccessibleName(tr("Colour sorting options"));
    connect(colourOptions, &QPushButton::clicked, this, &PrefsWindow::openColorSortingOptions);
    orderRow->addWidget(order, 1);
    orderRow->addWidget(colourOptions);
    form->addRow(labelFor(tr("&Sort icons by:"), order, sorting), orderRow);
    form->addRow(_bind->check(Key::SortRunningByLaunchOrder,
                              tr("Running applications in the order they started")));
    layout->addWidget(sorting);

    auto *removal = new QGroupBox(tr("Exclusions and removal"), page);
    auto *removalForm = new QFormLayout(removal);
    auto *exclude = new QPushButton(tr("&Exclude Applications Automatically…"), removal);
    exclude->setAccessibleName(tr("Exclude applications automatically"));
    exclude->setEnabled(bool(_hooks.autoExcludeApps));
    connect(exclude, &QPushButton::clicked, this, [this]() {
        if (_hooks.autoExcludeApps) _hooks.autoExcludeApps();
    });
    removalForm->addRow(exclude);
    auto *removerRow = new QHBoxLayout;
    _appRemoverLabel = new QLabel(removal);
    _appRemoverLabel->setAccessibleName(tr("Application remover"));
    auto *chooseRemover = new QPushButton(tr("C&hoose…"), removal);
    chooseRemover->setObjectName(QStringLiteral("appRemoverButton"));
    chooseRemover->setAccessibleName(tr("Choose the application remover"));
    connect(chooseRemover, &QPushButton::clicked, this, &PrefsWindow::setAppRemover);
    removerRow->addWidget(_appRemoverLabel, 1);
    removerRow->addWidget(chooseRemover);
    removalForm->addRow(tr("Application remover:"), removerRow);
    auto showRemover = [this]() {
        const bool chosen = !_defaults.value(Key::AppRemoverBundleIdentifier).isEmpty();
        _appRemoverLabel->setText(chosen ? _defaults.value(Key::AppRemoverName) : tr("None"));
    };
    _bind->onChange(Key::AppRemoverName.name(), showRemover);
    _bind->onChange(Key::AppRemoverBundleIdentifier.name(), showRemover);
    layout->addWidget(removal);
    return page;
}

QWidget *PrefsWindow::makeAlertsTab()
{
    auto *box = new QGroupBox(tr("Alerts"));
    auto *layout = new QVBoxLayout(box);
    layout->addWidget(
        _bind->check(Key::ShowNoMouseAccessWarning, tr("Warn when only the hot key opens Kelp")));
    layout->addWidget(_bind->check(Key::ShowNoUIAccessWarning, tr("Warn when nothing opens Kelp")));
    layout->addWidget(_bind->check(Key::ShowWelcomeWindow, tr("Show the welcome tour")));
    layout->addWidget(_bind->check(Key::ShowOnBecomeActive,
                                   tr("Show the panel whenever Kelp comes to the front")));
    layout->addWidget(_bind->check(Key::HideOnResignActive,
                                   tr("Hide a moved panel as soon as Kelp loses the focus")));
    layout->addWidget(_bind->check(Key::NonActivatingPanel,
                                   tr("Leave the focus where it is when the panel opens")));
    const QString summary = desktop().summary;
    if (!summary.isEmpty()) {
        auto *line = new QLineEdit(summary, box);
        line->setObjectName(QStringLiteral("desktopSummary"));
        line->setReadOnly(true);
        line->setCursorPosition(0);
        auto *label = labelFor(tr("What this session offers:"), line, box);
        layout->addSpacing(8);
        layout->addWidget(label);
        layout->addWidget(line);
    }
    return withStretch(box);
}

// --- Hot key --------------------------------------------------------------------------------

void PrefsWindow::refreshHotKeyControls()
{
    const qint64 code = _defaults.value(Key::HotKeyCode);
    const qint64 modifiers = _defaults.value(Key::HotKeyModifiers);
    {
        const QSignalBlocker block(_hotKeyButton);
        // A code with no row (an old or hand-edited value) selects nothing rather than a key
        // that would then be stored.
        _hotKeyButton->setCurrentIndex(_hotKeyButton->findData(int(code < 0 ? -1 : code)));
    }
    const std::pair<QCheckBox *, qint64> boxes[] = {{_controlCheckbox, ModifierControl},
                                                    {_optionCheckbox, ModifierOption},
                                                    {_commandCheckbox, ModifierCommand},
                                                    {_shiftCheckbox, ModifierShift}};
    for (const auto &[box, bit] : boxes) {
        const QSignalBlocker block(box);
        box->setChecked(modifiers & bit);
    }
}

void PrefsWindow::setHotKey()
{
    qint64 modifiers = 0;
    if (_commandCheckbox->isChecked()) modifiers |= ModifierCommand;
    if (_controlCheckbox->isChecked()) modifiers |= ModifierControl;
    if (_optionCheckbox->isChecked()) modifiers |= ModifierOption;
    if (_shiftCheckbox->isChecked()) modifiers |= ModifierShift;
    const int index = _hotKeyButton->currentIndex();
    if (index >= 0)
        _defaults.setValue(Key::HotKeyCode, qint64(_hotKeyButton->itemData(index).toInt()));
    _defaults.setValue(Key::HotKeyModifiers, modifiers);
    updateHotKeyFailure();
}

void PrefsWindow::updateHotKeyFailure()
{
    const QString failure = _hooks.hotKeyFailure ? _hooks.hotKeyFailure() : QString();
    _hotKeyFailureLabel->setText(failure);
    _hotKeyFailureLabel->setVisible(!failure.isEmpty());
}

// --- Settings changed elsewhere ---------------------------------------------------------------

void PrefsWindow::settingChanged(const QString &key)
{
    if (Key::HotKeyCode.is(key) || Key::HotKeyModifiers.is(key)) {
        refreshHotKeyControls();
        updateHotKeyFailure();
    } else if (Key::ShowAppInStatusBar.is(key) || Key::ShowIconInDock.is(key)) {
        updateQuitButton();
    }
}

void PrefsWindow::updateQuitButton()
{
    const bool menuReachable = !_hooks.hasMenuAccess || _hooks.hasMenuAccess();
    _prefsQuitButton->setVisible(!menuReachable);
}

// --- Alt ------------------------------------------------------------------------------------

void PrefsWindow::setAltControlsShown(bool shown)
{
    for (QWidget *w : std::initializer_list<QWidget *>{
             _scanDepthStepper, _scanDepthLabel1, _scanDepthLabel2, _minimizeEmptyCellsCheckbox})
        w->setVisible(shown);
}

bool PrefsWindow::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::KeyPress || event->type() == QEvent::KeyRelease) {
        const auto *key = static_cast<QKeyEvent *>(event);
        bool alt = key->modifiers().testFlag(Qt::AltModifier);
        if (key->key() == Qt::Key_Alt) alt = event->type() == QEvent::KeyPress;
        setAltControlsShown(alt);
    } else if (event->type() == QEvent::ApplicationDeactivate) {
        setAltControlsShown(false);
    }
    return QDialog::eventFilter(watched, event);
}

void PrefsWindow::showEvent(QShowEvent *event)
{
    qApp->installEventFilter(this);
    setAltControlsShown(QGuiApplication::queryKeyboardModifiers().testFlag(Qt::AltModifier));
    updateQuitButton();
    updateHotKeyFailure();
    QDialog::showEvent(event);
}

void PrefsWindow::hideEvent(QHideEvent *event)
{
    qApp->removeEventFilter(this);
    QDialog::hideEvent(event);
}

// --- Sheets ---------------------------------------------------------------------------------

void PrefsWindow::openColorSortingOptions()
{
    if (!_colourSortSheet) {
        _colourSortSheet = new ColourSortSheet(_defaults, this);
    }
    if (_colourSortSheet->isVisible()) {
        _colourSortSheet->raise();
        return;
    }
    _colourSortSheet->open();
}

bool PrefsWindow::isColorSortingOptionsVisible() const
{
    return _colourSortSheet && _colourSortSheet->isVisible();
}

void PrefsWindow::reject()
{
    closePrefs();
}

void PrefsWindow::closePrefs()
{
    if (isColorSortingOptionsVisible()) _colourSortSheet->reject();
    if (isVisible()) QDialog::reject();
    if (!_defaults.synchronize()) qCWarning(lcPrefs) << "The settings could not be written";
}

// --- App remover ----------------------------------------------------------------------------

void PrefsWindow::setAppRemover()
{
    auto *chooser =
        new QFileDialog(this, tr("Choose the Application Remover"),
                        QStringLiteral("/usr/share/applications"), tr("Applications (*.desktop)"));
    chooser->setAttribute(Qt::WA_DeleteOnClose);
    chooser->setObjectName(QStringLiteral("appRemoverChooser"));
    chooser->setFileMode(QFileDialog::ExistingFile);
    chooser->setOption(QFileDialog::DontUseNativeDialog);
    chooser->setLabelText(QFileDialog::Accept, tr("Choose"));
    chooser->setWindowModality(Qt::WindowModal);
    connect(chooser, &QFileDialog::fileSelected, this, &PrefsWindow::setAppRemoverFromEntry);
    chooser->open();
}

void PrefsWindow::setAppRemoverFromEntry(const QString &desktopEntryPath)
{
    const QFileInfo info(desktopEntryPath);
    const QString id =
        info.fileName().endsWith(QLatin1String(".desktop")) ? info.fileName() : QString();
    if (id.isEmpty()) {
        QApplication::beep();
        qCWarning(lcPrefs) << "Couldn't get bundle identifier for chosen application";
        return;
    }
    // The entry's name and the desktop's answer both read files: asked on a worker thread.
    const int check = ++_appRemoverCheck;
    QPointer<PrefsWindow> self(this);
    const auto fileTypes = desktop().fileTypes;
    QThreadPool::globalInstance()->start([self, check, fileTypes, desktopEntryPath, id]() {
        QString name = desktopEntryDisplayName(desktopEntryPath);
        if (name.isEmpty()) name = tr("No name");
        bool accepts = false;
        if (fileTypes) {
            const QString canonical = QFileInfo(desktopEntryPath).canonicalFilePath();
            for (const QString &app :
                 fileTypes->appsAcceptingType(QStringLiteral("application/x-desktop")))
                if (QFileInfo(app).canonicalFilePath() == canonical ||
                    QFileInfo(app).fileName() == id)
                    accepts = true;
        }
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [self, check, name, id, accepts]() {
                if (!self || check != self->_appRemoverCheck) return;
                if (accepts) {
                    qCInfo(lcPrefs).noquote() << "The application remover is now" << id;
                    self->_defaults.setValue(Key::AppRemoverName, name);
                    self->_defaults.setValue(Key::AppRemoverBundleIdentifier, id);
                    return;
                }
                self->showAlert(
                    QStringLiteral("\"%1\"").arg(name) +
                        tr(" cannot accept an application file, so it probably can't delete "
                           "one either."),
                    tr("Please choose a different app for removing application files."));
            },
            Qt::QueuedConnection);
    });
}

void PrefsWindow::showAlert(const QString &message, const QString &informativeText)
{
    qCInfo(lcPrefs).noquote() << "Alert:" << message;
    auto *box = new QMessageBox(QMessageBox::Warning, tr("Kelp"), message, QMessageBox::Ok, this);
    box->setInformativeText(informativeText);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->button(QMessageBox::Ok)->setText(tr("Ok"));
    box->setWindowModality(Qt::WindowModal);
    box->open();
    Q_EMIT alertShown(message);
}

} // namespace kelp
