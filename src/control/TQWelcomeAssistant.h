#pragma once
// TQWelcomeAssistant: the welcome tour, a window that shows Kelp's welcome document one page per
// step with Previous and Next (Close on the last step) and "n of m" between them.
//
// There is at most one: sharedAssistantWithPDFName() brings the open one to the front or opens
// the document; closing the window (its close box, Close, Ctrl-W or Delete) ends it. A document
// that is missing or cannot be read is logged and no window opens.
#include "control/WelcomeSteps.h"

#include <QPointer>
#include <QWidget>

#include <memory>

class QLabel;
class QPdfDocument;
class QPdfView;
class QPushButton;

namespace kelp {

class Defaults;

class TQWelcomeAssistant : public QWidget
{
    Q_OBJECT
public:
    // The shared assistant on the document `pdfName` (one of KelpDocuments.h's names), opened if
    // need be; nullptr when the document cannot be shown.
    static TQWelcomeAssistant *sharedAssistantWithPDFName(const QString &pdfName,
                                                          Defaults &defaults);
    // The same on a document file.
    static TQWelcomeAssistant *sharedAssistantWithPDFPath(const QString &pdfPath,
                                                          Defaults &defaults);
    static TQWelcomeAssistant *shared();
    static bool isWindowVisible();
    static bool bringWindowToFront();
    // Closes the shared assistant as its close box would; false when there is none.
    static bool closeWindow();

    ~TQWelcomeAssistant() override;

    void showStep(int step);
    void showNextStep();
    void showPreviousStep();
    const WelcomeSteps &steps() const { return *_steps; }
    QPushButton *nextButton() const { return _nextButton; }
    QPushButton *previousButton() const { return _prevButton; }
    QString stepText() const;

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    TQWelcomeAssistant(std::unique_ptr<QPdfDocument> document, Defaults &defaults);
    void updateStepNumberField();

    static QPointer<TQWelcomeAssistant> s_shared;
    std::unique_ptr<QPdfDocument> _document;
    QPdfView *_pdfView = nullptr;
    QPushButton *_nextButton = nullptr;
    QPushButton *_prevButton = nullptr;
    QLabel *_stepLabel = nullptr;
    std::unique_ptr<WelcomeSteps> _steps;
};

} // namespace kelp
