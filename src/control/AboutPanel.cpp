#include "control/AboutPanel.h"

#include "control/KelpDocuments.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QPixmap>
#include <QPushButton>
#include <QSvgRenderer>
#include <QVBoxLayout>

namespace kelp {

namespace {

QPixmap kelpIcon(int size, qreal ratio)
{
    QSvgRenderer renderer(QStringLiteral(":/control/kelp.svg"));
    QPixmap pixmap(QSize(size, size) * ratio);
    pixmap.fill(Qt::transparent);
    if (renderer.isValid()) {
        QPainter painter(&pixmap);
        renderer.render(&painter);
    }
    pixmap.setDevicePixelRatio(ratio);
    return pixmap;
}

} // namespace

AboutPanel::AboutPanel(QWidget *parent) : QWidget(parent, Qt::Window)
{
    setObjectName(QStringLiteral("AboutPanel"));
    setWindowTitle(tr("About Kelp"));
    setAccessibleName(windowTitle());

    auto *icon = new QLabel(this);
    icon->setPixmap(kelpIcon(96, devicePixelRatioF()));
    icon->setAlignment(Qt::AlignCenter);
    icon->setAccessibleName(tr("Kelp's icon"));

    auto *name = new QLabel(QStringLiteral("<h2>Kelp</h2>"), this);
    name->setAlignment(Qt::AlignCenter);
    auto *version = new QLabel(tr("Version %1").arg(QCoreApplication::applicationVersion()), this);
    version->setObjectName(QStringLiteral("version"));
    version->setAlignment(Qt::AlignCenter);
    version->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto *what = new QLabel(tr("An application launcher: every application on your computer in "
                               "one floating panel of icons, a few letters or a click away."),
                            this);
    what->setWordWrap(true);
    what->setAlignment(Qt::AlignCenter);
    auto *licence = new QLabel(
        tr("Copyright © the Kelp developers. Licence: %1.").arg(QStringLiteral(KELP_LICENCE)),
        this);
    licence->setAlignment(Qt::AlignCenter);
    licence->setWordWrap(true);
    const QString home = QString::fromLatin1(kHomePageUrl);
    auto *link = new QLabel(QStringLiteral("<a href=\"%1\">%1</a>").arg(home), this);
    link->setAlignment(Qt::AlignCenter);
    link->setOpenExternalLinks(true);
    link->setAccessibleName(tr("Kelp's home page"));
    auto *close = new QPushButton(tr("Close"), this);
    close->setDefault(true);
    connect(close, &QPushButton::clicked, this, &QWidget::close);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(24, 20, 24, 16);
    for (QWidget *widget : {static_cast<QWidget *>(icon), static_cast<QWidget *>(name),
                            static_cast<QWidget *>(version), static_cast<QWidget *>(what),
                            static_cast<QWidget *>(licence), static_cast<QWidget *>(link)})
        layout->addWidget(widget);
    layout->addSpacing(8);
    layout->addWidget(close, 0, Qt::AlignCenter);
    setFixedWidth(340);
}

void AboutPanel::orderFront()
{
    show();
    raise();
    activateWindow();
}

void AboutPanel::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape) {
        close();
        return;
    }
    QWidget::keyPressEvent(event);
}

} // namespace kelp
