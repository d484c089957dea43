#include "WorkspaceManagerWindowController.h"

#include "AppLanguageStore.h"
#include "VelmoraAppearance.h"
#include "WorkspaceManagerView.h"

#include <QVBoxLayout>

using namespace Qt::StringLiterals;

WorkspaceManagerWindowController::WorkspaceManagerWindowController(AppLanguageStore& languageStore,
                                                                   MakeView makeView,
                                                                   AuxiliaryWindow::Activate activate,
                                                                   QObject* parent)
    : QObject(parent), m_languageStore(languageStore), m_makeView(std::move(makeView)),
      m_activate(std::move(activate))
{
    connect(&m_languageStore, &AppLanguageStore::selectionChanged, this, [this] {
        QMetaObject::invokeMethod(
            this,
            [this] {
                if (m_window)
                    m_window->setWindowTitle(
                        WorkspaceManagerView::titleFor(m_languageStore.effectiveLanguage()));
            },
            Qt::QueuedConnection);
    });
}

WorkspaceManagerWindowController::~WorkspaceManagerWindowController()
{
    delete m_window.data();
}

void WorkspaceManagerWindowController::openWorkspaceManagerWindow(const QVariant& object)
{
    const std::optional<QString> initialWorkspaceID =
        object.typeId() == QMetaType::QString ? std::optional(object.toString()) : std::nullopt;
    WorkspaceManagerView* view = m_makeView(initialWorkspaceID);
    if (m_window) {
        delete m_view.data();
        m_window->layout()->addWidget(view);
    } else {
        m_window = new QWidget();
        m_window->setObjectName(u"workspaceManagerWindow"_s);
        auto* layout = new QVBoxLayout(m_window);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->addWidget(view);
        m_window->resize(windowWidth, windowHeight);
        VelmoraAppearance::apply(m_window);
        AuxiliaryWindow::prepare(m_window,
                                 WorkspaceManagerView::titleFor(m_languageStore.effectiveLanguage()), true);
    }
    m_view = view;
    AuxiliaryWindow::present(m_window, m_activate);
}

WorkspaceManagerView* WorkspaceManagerWindowController::view() const
{
    return m_view;
}
