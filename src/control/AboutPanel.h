#pragma once
// AboutPanel: Kelp's About window (name, version, icon, what Kelp is, licence, home page). The
// controller makes one the first time it is asked for and afterwards only brings it forward.
#include <QWidget>

namespace kelp {

class AboutPanel : public QWidget
{
    Q_OBJECT
public:
    explicit AboutPanel(QWidget *parent = nullptr);

    // Shows the window, or brings it to the front when it shows already.
    void orderFront();

protected:
    void keyPressEvent(QKeyEvent *event) override;
};

} // namespace kelp
