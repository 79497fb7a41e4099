#include "control/TQWelcomeAssistant.h"

#include "control/KelpDocuments.h"
#include "control/WelcomeLogging.h"

#include <QtPdf/QPdfDocument>
#include <QtPdf/QPdfPageNavigator>
#include <QtPdfWidgets/QPdfView>

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QVBoxLayout>

namespace kelp {

QPointer<TQWelcomeAssistant> TQWelcomeAssistant::s_shared;

TQWelcomeAssistant *TQWelcomeAssistant::sharedAssistantWithPDFName(const QString &pdfName,
                                                                   Defaults &defaults)
{
    if (s_shared) {
        bringWindowToFront();
        return s_shared;
    }
    const QString path = documentPath(pdfName);
    if (path.isEmpty()) {
        qCWarning(lcWelcome) << "PDF not found for welcome window";
        return nullptr;
    }
    return sharedAssistantWithPDFPath(path, defaults);
}

TQWelcomeAssistant *TQWelcomeAssistant::sharedAssistantWithPDFPath(const QString &pdfPath,
                                                                   Defaults &defaults)
{
    if (s_shared) {
        bringWindowToFront();
        return s_shared;
    }
    auto document = std::make_unique<QPdfDocument>();
    // A damaged file is refused here: no pages, or an error from the reader.
    if (document->load(pdfPath) != QPdfDocument::Error::None || document->pageCount() < 1) {
        qCWarning(lcWelcome) << "PDF not found for welcome window";
        qCDebug(lcWelcome) << "The welcome document" << pdfPath << "could not be read";
        return nullptr;
    }
    s_shared = new TQWelcomeAssistant(std::move(document), defaults);
    s_shared->show();
    bringWindowToFront();
    return s_shared;
}

TQWelcomeAssistant *TQWelcomeAssistant::shared()
{
    return s_shared;
}

bool TQWelcomeAssistant::isWindowVisible()
{
    return s_shared && s_shared->isVisible();
}

bool TQWelcomeAssistant::bringWindowToFront()
{
    if (!s_shared) return false;
    s_shared->show();
    s_shared->raise();
    s_shared->activateWindow();
    return true;
}

bool TQWelcomeAssistant::closeWindow()
{
    if (!s_shared) return false;
    s_shared->close();
    return true;
}

TQWelcomeAssistant::TQWelcomeAssistant(std::unique_ptr<QPdfDocument> document, Defaults &defaults)
    : _document(std::move(document))
{
    setAttribute(Qt::WA_DeleteOnClose);
    setObjectName(QStringLiteral("TQWelcomeAssistant"));
    const QString title = _document->metaData(QPdfDocument::MetaDataField::Title).toString();
    setWindowTitle(title.isEmpty() ? tr("Welcome to Kelp") : title);
    setAccessibleName(windowTitle());

    _pdfView = new QPdfView(this);
    _pdfView->setDocument(_document.get());
    // One whole page at its natural size, on white, no scrolling from page to page.
    _pdfView->setPageMode(QPdfView::PageMode::SinglePage);
    _pdfView->setZoomMode(QPdfView::ZoomMode::Custom);
    _pdfView->setZoomFactor(1.0);
    _pdfView->setPageSpacing(0);
    _pdfView->setDocumentMargins(QMargins());
    _pdfView->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    _pdfView->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    _pdfView->setFrameShape(QFrame::NoFrame);
    QPalette white = _pdfView->palette();
    white.setColor(QPalette::Dark, Qt::white);
    white.setColor(QPalette::Window, Qt::white);
    _pdfView->setPalette(white);
    _pdfView->setFocusPolicy(Qt::NoFocus);
    _pdfView->setAccessibleName(tr("Welcome page"));

    _prevButton = new QPushButton(tr("Previous"), this);
    _nextButton = new QPushButton(tr("Next"), this);
    _stepLabel = new QLabel(this);
    _stepLabel->setAlignment(Qt::AlignCenter);
    _prevButton->setAccessibleName(tr("Previous step"));
    _nextButton->setAccessibleName(tr("Next step"));
    _stepLabel->setAccessibleName(tr("Step"));
    _nextButton->setDefault(true);
    _nextButton->setAutoDefault(true);

    auto *buttons = new QHBoxLayout;
    buttons->setContentsMargins(12, 8, 12, 12);
    buttons->addWidget(_prevButton);
    buttons->addWidget(_stepLabel, 1);
    buttons->addWidget(_nextButton);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(_pdfView, 1);
    layout->addLayout(buttons);

    // The window fits the first page at the view's natural scale.
    const QSizeF points = _document->pagePointSize(0);
    const qreal dpi = screen() ? screen()->logicalDotsPerInch() : 96.0;
    const QSize pagePixels = (points * dpi / 72.0).toSize();
    _pdfView->setMinimumSize(pagePixels);

    connect(_prevButton, &QPushButton::clicked, this, &TQWelcomeAssistant::showPreviousStep);
    connect(_nextButton, &QPushButton::clicked, this, &TQWelcomeAssistant::showNextStep);
    _steps = std::make_unique<WelcomeSteps>(defaults, _document->pageCount());
    connect(_pdfView->pageNavigator(), &QPdfPageNavigator::currentPageChanged, this,
            [this](int page) {
                if (page + 1 != _steps->currentStep()) _steps->pageShown(page);
                updateStepNumberField();
            });
    showStep(_steps->currentStep());
}

TQWelcomeAssistant::~TQWelcomeAssistant()
{
    // The view goes before the document and the steps: nothing it announces on its way out may
    // reach them (a page change would be remembered as the step shown).
    _pdfView->pageNavigator()->disconnect(this);
    delete _pdfView;
}

void TQWelcomeAssistant::showStep(int step)
{
    if (_steps->showStep(step)) _pdfView->pageNavigator()->jump(step - 1, QPointF(), 0);
    updateStepNumberField();
}

void TQWelcomeAssistant::showNextStep()
{
    if (_steps->showNextStep()) {
        close();
        return;
    }
    _pdfView->pageNavigator()->jump(_steps->currentStep() - 1, QPointF(), 0);
    updateStepNumberField();
}

void TQWelcomeAssistant::showPreviousStep()
{
    _steps->showPreviousStep();
    _pdfView->pageNavigator()->jump(_steps->currentStep() - 1, QPointF(), 0);
    updateStepNumberField();
}

QString TQWelcomeAssistant::stepText() const
{
    return _stepLabel->text();
}

void TQWelcomeAssistant::updateStepNumberField()
{
    _stepLabel->setText(_steps->stepLabel());
    _nextButton->setText(_steps->isLastStep() ? tr("Close") : tr("Next"));
    _prevButton->setEnabled(!_steps->isFirstStep());
}

void TQWelcomeAssistant::keyPressEvent(QKeyEvent *event)
{
    const bool closeKey =
        (event->key() == Qt::Key_W && event->modifiers() == Qt::ControlModifier) ||
        ((event->key() == Qt::Key_Delete || event->key() == Qt::Key_Backspace) &&
         !(event->modifiers() & Qt::ControlModifier));
    if (closeKey) {
        close();
        return;
    }
    QWidget::keyPressEvent(event);
}

} // namespace kelp
