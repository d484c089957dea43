// The one way a Velmora window presents a sheet: a frameless dialog, modal to the presenting window
// and transient for it, dressed as the surface and placed at its top centre inside the screen. It
// takes the keyboard focus and hands it back to the widget that had it when it goes. Escape cancels
// (rejects); the content's default button takes Return.
#pragma once

#include <QDialog>
#include <QPointer>

class VelmoraSheetHost : public QDialog {
    Q_OBJECT

public:
    static constexpr double cornerRadius = 18.0;
    static constexpr int topInset = 10; // below the presenter's top edge

    // Takes `content` as its only child, at the content's fixed size.
    VelmoraSheetHost(QWidget* presenter, QWidget* content);

    QWidget* content() const { return m_content; }

    // Shows the sheet without blocking; `finished` tells when it went.
    void present();
    // Where the sheet stands for a presenter window at `presenterFrame` on a screen whose usable
    // area is `screen`.
    static QRect placement(const QSize& size, const QRect& presenterFrame, const QRect& screen);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void done(int result) override;

private:
    QWidget* m_content;
    QPointer<QWidget> m_presenter;
    QPointer<QWidget> m_focusBefore;
};
