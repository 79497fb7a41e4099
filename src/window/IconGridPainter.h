#pragma once
// IconGridPainter: how the icon grid looks.
//
// Paints the view: the tint over its whole area, then either the scan progress (while the
// catalogue is walked nothing else is drawn) or every cell in the area being painted, and for
// bunches the separators between them and, while favourites are rearranged, the marker at the
// target end of a bunch. A cell shows its application's icon (or the icon's colour spectrum),
// opaque or dimmed, on the running highlight, with the insertion marker of a move.
//
// It decides each cell's three states:
//   opaque:      not dimmed. A cell is dimmed when its application is filtered out by the typed
//                letters; cannot take the dragged files, or is the favourite being moved; is
//                pressed; is excluded while included or all applications are shown, or included
//                while the excluded ones are; or is not running while Fn is held.
//   highlighted: running (outside the running group, with Fn up), or the target of a file drop.
//   decorated:   the target cell of a move, where the insertion marker shows.
//
// The painter keeps the drawing state of its own (the colours, whether icons show as colour
// spectra, the scan progress) and reads everything else from the view it paints.
#include "window/PanelColours.h"

#include <QCoreApplication>
#include <QString>

#include <cstdint>

class QPainter;
class QRegion;

namespace kelp {

class TQIconView;

class IconGridPainter
{
    Q_DECLARE_TR_FUNCTIONS(IconGridPainter)
public:
    explicit IconGridPainter(const TQIconView &view) : _view(view) {}

    // Paints the parts of the view inside region.
    void paint(QPainter &painter, const QRegion &region) const;

    bool isOpaque(std::uint64_t row, std::uint64_t col) const;
    bool isHighlighted(std::uint64_t row, std::uint64_t col) const;
    bool isDecorated(std::uint64_t row, std::uint64_t col) const;

    const PanelColours &colours() const { return _colours; }
    void setColours(const PanelColours &colours) { _colours = colours; }
    bool showsSpectra() const { return _showSpectra; }
    void setShowsSpectra(bool show) { _showSpectra = show; }

    // Scan progress: a count below 1 ends it.
    void setScanProgress(int step, int count, const QString &label);
    bool isBusyScanning() const { return _isBusyScanning; }
    const QString &scanningStep() const { return _scanningStep; }
    const QString &scanningLabel() const { return _scanningLabel; }

private:
    void paintScanProgress(QPainter &painter) const;
    void paintEmptyGroupNote(QPainter &painter, const QString &note) const;
    void paintCell(QPainter &painter, std::uint64_t row, std::uint64_t col) const;
    void paintBunchSeparators(QPainter &painter) const;
    void paintBunchEndMark(QPainter &painter) const;

    const TQIconView &_view;
    PanelColours _colours;
    bool _smoothImages = true;
    bool _showSpectra = false;
    bool _isBusyScanning = false;
    QString _scanningStep;
    QString _scanningLabel;
};

} // namespace kelp
