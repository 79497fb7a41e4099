#include "control/WelcomeSteps.h"

#include "settings/Defaults.h"

#include <QCoreApplication>

#include <algorithm>

namespace kelp {

WelcomeSteps::WelcomeSteps(Defaults &defaults, int pageCount)
    : _defaults(defaults), _lastStep(std::max(pageCount, kFirstStep))
{
    const qint64 remembered = _defaults.value(Key::LastShownWelcomeStep);
    int start = static_cast<int>(std::clamp<qint64>(remembered, kFirstStep, _lastStep));
    // Seen to the end: the tour starts over.
    if (!_defaults.value(Key::ShowWelcomeWindow) && start == _lastStep) start = kFirstStep;
    _curStep = start;
    remember();
}

bool WelcomeSteps::showStep(int step)
{
    if (step < kFirstStep || step > _lastStep) return false;
    _curStep = step;
    remember();
    return true;
}

bool WelcomeSteps::showNextStep()
{
    const bool over = isLastStep();
    if (!over) showStep(_curStep + 1);
    remember();
    if (isLastStep()) _defaults.setValue(Key::ShowWelcomeWindow, false);
    return over;
}

void WelcomeSteps::showPreviousStep()
{
    if (!isFirstStep()) showStep(_curStep - 1);
}

void WelcomeSteps::pageShown(int pageIndex)
{
    showStep(pageIndex + 1);
}

QString WelcomeSteps::stepLabel() const
{
    return QCoreApplication::translate("TQWelcomeAssistant", "%1 of %2")
        .arg(_curStep)
        .arg(_lastStep);
}

void WelcomeSteps::remember()
{
    _defaults.setValue(Key::LastShownWelcomeStep, qint64(_curStep));
}

} // namespace kelp
