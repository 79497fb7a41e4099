#pragma once
// The welcome tour's steps, apart from the window that shows them: which step the tour opens on,
// moving between steps, and what Kelp remembers of the tour in its settings.
//
// Steps are numbered from 1 (step n is page n - 1 of the welcome document). Every step shown is
// remembered as `lastShownWelcomeStep`; reaching the last step with Next marks the tour as seen
// (`showWelcomeWindow` off), and a tour that was seen to its end starts again at the first step
// the next time it is opened.
#include <QString>

namespace kelp {

class Defaults;

class WelcomeSteps
{
public:
    static constexpr int kFirstStep = 1;

    // A tour over a document of `pageCount` pages, opened on the step the settings say.
    WelcomeSteps(Defaults &defaults, int pageCount);

    int firstStep() const { return kFirstStep; }
    int lastStep() const { return _lastStep; }
    int currentStep() const { return _curStep; }
    bool isFirstStep() const { return _curStep <= kFirstStep; }
    bool isLastStep() const { return _curStep >= _lastStep; }

    // Goes to step n when the document has it, and remembers the step. Returns whether it moved.
    bool showStep(int step);
    // Next: on the last step the tour is over and this answers true (the window closes);
    // otherwise the next step is shown. Reaching the last step marks the tour as seen.
    bool showNextStep();
    // Previous: the step before, when there is one.
    void showPreviousStep();
    // The page shown changed by other means (the view scrolled).
    void pageShown(int pageIndex);

    // "2 of 5"
    QString stepLabel() const;

private:
    void remember();

    Defaults &_defaults;
    int _lastStep;
    int _curStep;
};

} // namespace kelp
