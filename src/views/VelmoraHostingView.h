// The panel's content view: it holds the root view at its own full size and reports the pointer
// entering and leaving. It has no size of its own: the window decides, never the content.
#pragma once

#include <QPointer>
#include <QWidget>
#include <functional>

class VelmoraHostingView : public QWidget {
    Q_OBJECT

public:
    explicit VelmoraHostingView(QWidget* parent = nullptr);

    std::function<void()> onPointerEntered;
    std::function<void()> onPointerExited;

    // Takes the root view and deletes the one it replaces.
    void setRootView(QWidget* rootView);
    QWidget* rootView() const { return m_rootView; }

    QSize sizeHint() const override { return {}; }
    QSize minimumSizeHint() const override { return {}; }

protected:
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    QPointer<QWidget> m_rootView;
};
