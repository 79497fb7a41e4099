#include "cli/AnalyzeColoursCommand.h"

#include "catalogue/TQApp.h"
#include "catalogue/TQAppManager.h"
#include "extras/ColourImage.h"
#include "extras/TextNumbers.h"
#include "settings/Defaults.h"
#include "settings/RegisteredDefaults.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>

#include <cmath>
#include <cstdio>

namespace kelp {
namespace {

constexpr qint64 kDefaultSize = 128;
constexpr qint64 kLargestSize = 1024;

QString tr(const char *text)
{
    return QCoreApplication::translate("AnalyzeColours", text);
}

QString hexColour(const QColor &c)
{
    return c.name(QColor::HexRgb);
}

// Reads one "key=value" override into the parameters; returns an error message, or empty.
QString applySetting(const QString &setting, ColorSortParams &params)
{
    const qsizetype eq = setting.indexOf(QLatin1Char('='));
    if (eq <= 0) return tr("Expected key=value, got \"%1\".").arg(setting);
    const QString key = setting.left(eq);
    const QString value = setting.mid(eq + 1).trimmed();
    bool ok = false;
    if (Key::MaximumIconSize.is(key)) {
        const qint64 size = value.toLongLong(&ok);
        if (!ok || size < 1 || size > kLargestSize)
            return tr("maximumIconSize must be a whole number from 1 to %1.").arg(kLargestSize);
        params.maximumIconSize = size;
        return {};
    }
    if (Key::ColorSortGraysBySecondaryColor.is(key)) {
        params.colorSortGraysBySecondaryColor = textIsTrue(value);
        return {};
    }
    const float number = value.toFloat(&ok);
    if (!ok || !std::isfinite(number))
        return tr("%1 must be a number, got \"%2\".").arg(key, value);
    if (Key::ColorSortGrayThreshold.is(key))
        params.colorSortGrayThreshold = number;
    else if (Key::ColorSortWrapHue.is(key))
        params.colorSortWrapHue = number;
    else if (Key::ColorSortMinSaturation.is(key))
        params.colorSortMinSaturation = number;
    else if (Key::ColorSortMinLuminosity.is(key))
        params.colorSortMinLuminosity = number;
    else
        return tr("Unknown setting \"%1\".").arg(key);
    return {};
}

QJsonObject analyse(const QString &path, const ColorSortParams &params)
{
    QJsonObject entry;
    entry.insert(QStringLiteral("path"), path);
    const int size = static_cast<int>(params.maximumIconSize);
    const QImage image = renderIconFile(path, size);
    if (image.isNull()) {
        entry.insert(QStringLiteral("error"), QFileInfo::exists(path)
                                                  ? tr("The image could not be read.")
                                                  : tr("No such file."));
        return entry;
    }
    // The same path an entry takes when its icon arrives.
    auto app = std::make_shared<TQApp>(path);
    app->setColorSortParams(params);
    app->setIcon(image);

    QJsonArray colours;
    for (const colour::HclColor &c : app->hclColors()) {
        colours.append(QJsonObject{{QStringLiteral("L"), c.L},
                                   {QStringLiteral("u"), c.u},
                                   {QStringLiteral("v"), c.v},
                                   {QStringLiteral("quantity"), static_cast<qint64>(c.quantity)},
                                   {QStringLiteral("hue"), c.hue},
                                   {QStringLiteral("chroma"), c.chroma},
                                   {QStringLiteral("lightness"), c.lightness}});
    }
    QJsonArray sorted;
    for (const TQApp::SortedColour &c : app->sortedColors())
        sorted.append(QJsonObject{{QStringLiteral("rgb"), hexColour(c.color)},
                                  {QStringLiteral("count"), c.count}});
    entry.insert(QStringLiteral("colors"), colours);
    entry.insert(QStringLiteral("colorSortValue"), app->colorSortValue());
    entry.insert(QStringLiteral("sortedColors"), sorted);
    return entry;
}

} // namespace

AnalyzeColoursResult analyzeColours(const Defaults &defaults, const QStringList &settings,
                                    const QStringList &images)
{
    AnalyzeColoursResult result;
    ColorSortParams params = colorSortParamsFromDefaults(defaults);
    params.maximumIconSize = kDefaultSize;
    for (const QString &setting : settings) {
        const QString error = applySetting(setting, params);
        if (!error.isEmpty()) {
            result.usageError = error;
            return result;
        }
    }
    if (images.isEmpty()) {
        result.usageError = tr("Name at least one image.");
        return result;
    }
    for (const QString &path : images) {
        const QJsonObject entry = analyse(path, params);
        result.allOk = result.allOk && !entry.contains(QStringLiteral("error"));
        result.report.append(entry);
    }
    return result;
}

int runAnalyzeColours(const QStringList &settings, const QStringList &images)
{
    Defaults &defaults = Defaults::standard();
    registerAllDefaults(defaults);
    const AnalyzeColoursResult result = analyzeColours(defaults, settings, images);
    if (!result.usageError.isEmpty()) {
        QTextStream(stderr) << result.usageError << '\n';
        return 2;
    }
    const QByteArray json = QJsonDocument(result.report).toJson(QJsonDocument::Indented);
    std::fwrite(json.constData(), 1, static_cast<size_t>(json.size()), stdout);
    return result.allOk ? 0 : 1;
}

} // namespace kelp
