#include "catalogue/IconLoader.h"

#include "desktop/Desktop.h"
#include "desktop/IconSource.h"
#include "extras/Logging.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QGuiApplication>

#include <algorithm>

namespace kelp {

namespace {
constexpr qint64 kLargestIconSize = 128;
IconLoader *sharedLoader = nullptr;

// Runs while the application object is destroyed: no load may outlive it.
void stopLoading()
{
    if (!sharedLoader) return;
    sharedLoader->queue().clear();
    sharedLoader->queue().waitForDone();
}
} // namespace

// --- IconLoadOperation ------------------------------------------------------------------------

int IconLoadOperation::iconSizeFor(const ColorSortParams &params)
{
    return static_cast<int>(std::clamp<qint64>(params.maximumIconSize, 1, kLargestIconSize));
}

IconLoadOperation::IconLoadOperation(const QString &path, const ColorSortParams &params,
                                     const TQAppPtr &sender,
                                     std::shared_ptr<const IconSource> source,
                                     qreal devicePixelRatio)
    : _filePath(path), _iconSize(iconSizeFor(params)), _sender(sender),
      _generation(sender ? sender->iconLoadGeneration() : 0), _source(std::move(source)),
      _devicePixelRatio(devicePixelRatio)
{}

void IconLoadOperation::run()
{
    QImage icon;
    QImage display;
    if (_source) {
        icon = _source->iconForFile(_filePath, _iconSize);
        if (!icon.isNull() && _devicePixelRatio > 1.0)
            display = _source->displayIconForFile(_filePath, _iconSize, _devicePixelRatio);
    }
    if (icon.isNull())
        qCWarning(lcIcons).noquote() << "setIcon: Error loading icon for path:" << _filePath;
    // The loader lives as long as the process; its thread is the GUI thread.
    IconLoader *loader = &IconLoader::shared();
    QMetaObject::invokeMethod(
        loader,
        [loader, sender = _sender, generation = _generation, icon, display]() {
            loader->deliver(sender, generation, icon, display);
        },
        Qt::QueuedConnection);
}

// --- IconLoader -------------------------------------------------------------------------------

IconLoader::IconLoader()
{
    _queue.setMaxThreadCount(kMaxConcurrentLoads);
    _queue.setObjectName(QStringLiteral("IconLoader"));
}

IconLoader &IconLoader::shared()
{
    // Created once, under the lock C++ puts around a function's static initialisation.
    static IconLoader *loader = []() {
        auto *made = new IconLoader;
        if (QCoreApplication *app = QCoreApplication::instance()) made->moveToThread(app->thread());
        sharedLoader = made;
        qAddPostRoutine(stopLoading);
        return made;
    }();
    return *loader;
}

void IconLoader::setIconSource(std::shared_ptr<const IconSource> source)
{
    _source = std::move(source);
}

std::shared_ptr<const IconSource> IconLoader::iconSource() const
{
    if (_source) return _source;
    return desktop().icons;
}

void IconLoader::loadIcon(const TQAppPtr &app)
{
    if (!app) return;
    // The icon is drawn for the sharpest screen; the colour analysis always sees 1:1 pixels.
    const qreal ratio = qGuiApp ? qGuiApp->devicePixelRatio() : 1.0;
    auto *operation =
        new IconLoadOperation(app->path(), app->colorSortParams(), app, iconSource(), ratio);
    ++_pending;
    ++_stats.queued;
    _queue.start(operation);
}

void IconLoader::deliver(const std::weak_ptr<TQApp> &sender, quint64 generation, const QImage &icon,
                         const QImage &displayIcon)
{
    QElapsedTimer timer;
    timer.start();
    if (icon.isNull()) ++_stats.failed;
    const TQAppPtr app = sender.lock();
    if (app && app->iconLoadGeneration() == generation) {
        app->setDisplayIcon(displayIcon);
        app->setIcon(icon);
        ++_stats.delivered;
    }
    const qint64 spent = timer.nsecsElapsed();
    _stats.longestDeliveryNs = std::max(_stats.longestDeliveryNs, spent);
    _stats.totalDeliveryNs += spent;
    if (--_pending == 0) Q_EMIT allLoadsDelivered();
}

void IconLoader::waitUntilAllDelivered()
{
    if (_pending == 0) return;
    QEventLoop loop;
    connect(this, &IconLoader::allLoadsDelivered, &loop, &QEventLoop::quit);
    loop.exec();
}

} // namespace kelp
