#pragma once
// LauncherProgress: the scan's progress on Kelp's icon in the desktop's dock or taskbar (the
// com.canonical.Unity.LauncherEntry signal that Plank, Dash to Dock, KDE's task manager and
// others read). Qt only; the implementation lives in the platform library.
namespace kelp {

class LauncherProgress
{
public:
    virtual ~LauncherProgress() = default;
    // step of count; a count of 0 takes the progress off the icon.
    virtual void showProgress(int step, int count) = 0;
};

// The fraction shown for step of count: 0..1, and nothing (negative) when count is 0.
inline double launcherProgressFraction(int step, int count)
{
    if (count <= 0) return -1.0;
    if (step <= 0) return 0.0;
    return step >= count ? 1.0 : static_cast<double>(step) / count;
}

} // namespace kelp
