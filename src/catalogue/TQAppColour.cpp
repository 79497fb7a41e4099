// TQApp's colour sort key: from the icon's dominant colours to one sortable number, the display
// colours and the spectrum icon. The arithmetic lives in colour/; this is the glue to Qt.
#include "catalogue/TQApp.h"

#include "extras/ColourImage.h"
#include "extras/Logging.h"
#include "extras/Notifications.h"

#include <QPainter>
#include <QPainterPath>

namespace kelp {
namespace {

constexpr qint64 kColoursAnalysed = 6;
constexpr double kDeltaE = 50.0;

TQApp::SortedColour toSorted(const colour::DisplayColour &c)
{
    return {QColor::fromRgbF(static_cast<float>(c.red), static_cast<float>(c.green),
                             static_cast<float>(c.blue), 1.0f),
            c.count};
}

QList<TQApp::SortedColour> toSorted(const std::vector<colour::DisplayColour> &colours)
{
    QList<TQApp::SortedColour> out;
    out.reserve(static_cast<qsizetype>(colours.size()));
    for (const colour::DisplayColour &c : colours)
        out.append(toSorted(c));
    return out;
}

} // namespace

void TQApp::setIcon(const QImage &image)
{
    if (image.cacheKey() == _icon.cacheKey() && image.isNull() == _icon.isNull()) return;
    _icon = image;
    freeColorSortData();
    setColorSortParameters(_colorSortParams);
}

void TQApp::freeColorSortData()
{
    _hclColors.clear();
    _hclColorsValid = false;
    _hclColorCount = kColoursAnalysed;
    _sortedColors.clear();
    _colorSortValue = colour::kNoColourKey;
}

void TQApp::setColorSortParameters(const ColorSortParams &params)
{
    const colour::ColorSortUpdate update =
        colour::updateColorSortParams(_colorSortParams, params, _hclColorsValid);
    const QImage icon = _icon;
    if (update.recompute || icon.isNull()) freeColorSortData();
    if (!icon.isNull()) {
        if (update.recompute) {
            _hclColors = dominantColoursOfImage(icon, _hclColorCount,
                                                _colorSortParams.colorSortMinSaturation,
                                                _colorSortParams.colorSortMinLuminosity, kDeltaE);
            _hclColorsValid = !_hclColors.empty();
            _hclColorCount = static_cast<qint64>(_hclColors.size());
        }
        if (update.resort) pickAndSortColors();
    }
    if (auto self = weak_from_this().lock()) Q_EMIT Notifications::instance().appIconChanged(self);
}

void TQApp::pickAndSortColors()
{
    const std::span<const colour::HclColor> colours =
        _hclColorsValid ? std::span<const colour::HclColor>(_hclColors)
                        : std::span<const colour::HclColor>();
    const colour::ColourSortResult result = colour::pickAndSortColours(colours, _colorSortParams);
    switch (result.status) {
    case colour::ColourSortStatus::NoColours:
        qCInfo(lcColour).noquote()
            << QString::fromUtf8(colour::kNoColoursLogPrefix.data(),
                                 static_cast<qsizetype>(colour::kNoColoursLogPrefix.size()))
            << name();
        break;
    case colour::ColourSortStatus::ZeroQuantity:
        qCInfo(lcColour).noquote()
            << QString::fromUtf8(colour::kZeroQuantityLogPrefix.data(),
                                 static_cast<qsizetype>(colour::kZeroQuantityLogPrefix.size()))
            << name();
        break;
    case colour::ColourSortStatus::Sorted:
    case colour::ColourSortStatus::NoUsableColours:
        break;
    }
    _colorSortValue = result.key;
    _sortedColors = toSorted(result.sortedColours);
}

QList<TQApp::SortedColour> TQApp::colorArrayForPrimaryIndex(qint64 primary, qint64 secondary,
                                                            qint64 gray) const
{
    if (!_hclColorsValid || _hclColorCount < 1) return {};
    return toSorted(colour::colourArrayForPrimaryIndex(_hclColors, primary, secondary, gray));
}

int TQApp::compareColorSortValues(const TQApp &a, const TQApp &b)
{
    return colour::compareColourSortValues(a._colorSortValue, b._colorSortValue);
}

QImage TQApp::spectrumIcon() const
{
    std::vector<colour::DisplayColour> display;
    display.reserve(static_cast<size_t>(_sortedColors.size()));
    for (const SortedColour &c : _sortedColors)
        display.push_back({c.color.redF(), c.color.greenF(), c.color.blueF(), 1.0, c.count});
    const std::optional<colour::SpectrumIconLayout> layout =
        colour::spectrumIconLayout(display, _colorSortParams.maximumIconSize);
    if (!layout) return _icon;

    const int side = static_cast<int>(layout->size);
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const QPointF centre(layout->centre, layout->centre);
    const QRectF pieRect(centre.x() - layout->pieRadius, centre.y() - layout->pieRadius,
                         2 * layout->pieRadius, 2 * layout->pieRadius);
    for (const colour::SpectrumSlice &slice : layout->slices) {
        QPainterPath pie;
        pie.moveTo(centre);
        pie.arcTo(pieRect, slice.startDegrees, slice.sweepDegrees);
        pie.closeSubpath();
        painter.fillPath(pie, _sortedColors.at(static_cast<qsizetype>(slice.colourIndex)).color);
    }
    QPainterPath ring;
    ring.setFillRule(Qt::OddEvenFill);
    ring.addEllipse(QRectF(0, 0, layout->size, layout->size));
    ring.addEllipse(QRectF(layout->ringInset, layout->ringInset,
                           layout->size - 2 * layout->ringInset,
                           layout->size - 2 * layout->ringInset));
    painter.fillPath(ring, _sortedColors.first().color);
    return image;
}

} // namespace kelp
