#pragma once
// TQIconOverlayView: what the panel shows over its icons for a moment.
//
// Three things: the letters typed to filter the icons, big in the middle of the panel, which fade
// out half a second after a short pause in typing; with them, when the letters leave one
// application (the one Return launches), that application's big icon, name and folder near the
// bottom; and a label beside the icon under the pointer, its name at first and, once the pointer
// has rested on it for two seconds, its path and version.
// The overlay draws nothing of the grid and takes no input (every pointer event passes through it
// to the views below); it learns everything from the icon view's signals, which the panel forwards
// in overlay coordinates (the panel's own: the overlay covers the whole panel).
#include "window/AppVersion.h"
#include "window/PanelColours.h"

#include <QFont>
#include <QHash>
#include <QPointer>
#include <QRectF>
#include <QTimer>
#include <QWidget>

#include <memory>

class QVariantAnimation;

namespace kelp {

class Defaults;
class TQApp;

class TQIconOverlayView : public QWidget
{
    Q_OBJECT
public:
    static constexpr int kLongLabelDelayMs = 2000;
    static constexpr int kFadeDurationMs = 500;
    static constexpr double kFilterInset = 20.0;     // room kept around the filter text
    static constexpr double kFilterBoxRadius = 24.0; // corner radius of the filter's box
    static constexpr double kCellOutset = 4.0;       // the label keeps this far from the cell
    static constexpr int kBigIconSide = 64;

    enum class Side { Right, Left, Below, Above };

    explicit TQIconOverlayView(Defaults &defaults, QWidget *parent = nullptr);
    ~TQIconOverlayView() override;

    // The icon view's filter changed: shown at once, for resetInterval seconds, then faded out.
    // A resetInterval of 0 or less empties the filter.
    void filterStringDidChange(const QString &filter, double resetInterval);
    // The selected icon changed (rect in overlay coordinates); a null app clears the label.
    void selectedAppDidChange(const std::shared_ptr<kelp::TQApp> &app, const QRectF &rect);
    // Shows the label for an application beside a rectangle, or nothing for a null app.
    void drawInfoForApp(const std::shared_ptr<kelp::TQApp> &app, const QRectF &rect);
    // The application the typed letters leave (null for none or several): its big icon shows with
    // the filter, and fades with it.
    void setBigIconApp(const std::shared_ptr<kelp::TQApp> &app);
    std::shared_ptr<TQApp> bigIconApp() const { return _bigIconApp.lock(); }

    void updateColours();

    // What is on screen, for the panel and for checks.
    QString filterString() const { return _filterString; }
    bool isShowingFilter() const;
    bool isFading() const { return _fade != nullptr; }
    double filterOpacity() const { return _fadeOpacity; }
    // The filter as drawn (shortened to the room inside the inset) and the box behind it.
    QString displayedFilterText() const;
    QRectF filterBox() const;
    bool showsLongLabel() const { return _showLongLabel; }
    std::shared_ptr<TQApp> selectedApp() const { return _selectedApp.lock(); }
    QRectF selectedAppRect() const { return _selectedAppRect; }
    // The label text in its current form, and the box it is drawn in (empty without a selection).
    QString labelText() const;
    QRectF labelBox() const;
    // Where the big icon's parts go in an overlay of this size: the icon, and the top-left corners
    // of the name's and the folder's lines (the icon and the text are not centred together).
    struct BigIconPlaces
    {
        QRectF icon;
        QPointF name, folder;
    };
    BigIconPlaces bigIconPlaces() const;
    // Whether the big icon is drawn now (an application, and the filter showing).
    bool isShowingBigIcon() const;

    // The order in which the sides of the selected cell are tried for the label.
    static QList<Side> labelSideOrder(int groupOrientation, bool tabletMode, int tabletHandedness);
    // Where a label of this size goes beside the cell, inside bounds: the first side in order
    // where it fits, else the side with the most room, pushed inside bounds.
    static QRectF placeLabel(const QSizeF &size, const QRectF &cell, const QRectF &bounds,
                             const QList<Side> &order);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void cancelFilterStringTimer();
    void filterStringTimerFired();
    void startFilterStringAnimation();
    void stopFilterStringAnimation();
    void cancelLabelTimer();
    void labelTimerFired();
    void readLayoutSettings();
    void requestVersion(const QString &path);
    void versionRead(const QString &path, const AppVersion &version);
    QSizeF labelTextSize(const QString &text) const;
    void drawFilterString(QPainter &p);
    void drawLabel(QPainter &p);
    void drawBigIconForApp(QPainter &p, const TQApp &app);

    Defaults &_defaults;
    PanelColours _colours;
    QFont _smallFont, _mediumFont, _largeFont, _keyFont;

    QString _filterString;
    QTimer _filterStringTimer;
    QVariantAnimation *_fade = nullptr;
    double _fadeOpacity = 1.0;

    std::weak_ptr<TQApp> _bigIconApp;

    std::weak_ptr<TQApp> _selectedApp;
    QString _selectedPath;
    QString _selectedName;
    QRectF _selectedAppRect;
    bool _showLongLabel = false;
    QTimer _labelTimer;
    QHash<QString, AppVersion> _versions;
    QHash<QString, bool> _versionsPending;

    int _groupOrientation = 2;
    bool _tabletMode = false;
    int _tabletHandedness = 1;
};

} // namespace kelp
