// The window of a check for updates the user asked for: a small non-modal dialog that shows the
// check running, then its outcome: up to date, a newer version with a Download button, or the
// failure in plain words. Velmora never installs updates; Download opens the version's page.
#pragma once

#include "AppLanguage.h"
#include "UpdateCheckPresenting.h"

#include <QDialog>
#include <QPointer>
#include <QUrl>
#include <functional>

class QLabel;
class QProgressBar;
class QPushButton;

class UpdateCheckDialog : public QDialog {
    Q_OBJECT

public:
    enum class State { checking, upToDate, updateAvailable, failed };

    using LanguageProvider = std::function<AppLanguage()>;

    explicit UpdateCheckDialog(LanguageProvider languageProvider, QWidget* parent = nullptr);

    void showChecking();
    void showOutcome(const UpdateCheckOutcome& outcome);

    State state() const { return m_state; }
    QString titleText() const;
    QString messageText() const;
    QPushButton* downloadButton() const { return m_downloadButton; }
    QPushButton* closeButton() const { return m_closeButton; }
    QUrl downloadLink() const { return m_downloadLink; }

private:
    QString text(const QString& key) const;
    void setState(State state, const QString& title, const QString& message);

    LanguageProvider m_languageProvider;
    State m_state = State::checking;
    QUrl m_downloadLink;
    QLabel* m_titleLabel;
    QLabel* m_messageLabel;
    QProgressBar* m_progress;
    QPushButton* m_downloadButton;
    QPushButton* m_closeButton;
};

// Keeps one dialog at a time: a new check brings the same window forward.
class UpdateCheckDialogPresenter final : public UpdateCheckPresenting {
public:
    explicit UpdateCheckDialogPresenter(UpdateCheckDialog::LanguageProvider languageProvider);
    ~UpdateCheckDialogPresenter() override;

    void presentChecking() override;
    // A dialog the user closed while the check ran stays closed.
    void presentOutcome(const UpdateCheckOutcome& outcome) override;

    UpdateCheckDialog* dialog() const { return m_dialog; }

private:
    UpdateCheckDialog::LanguageProvider m_languageProvider;
    QPointer<UpdateCheckDialog> m_dialog;
};
