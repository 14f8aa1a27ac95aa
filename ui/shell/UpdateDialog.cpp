#include "UpdateDialog.h"

#include "SizeText.h"

#include <QEvent>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTextBrowser>
#include <QVBoxLayout>

namespace {

constexpr int kWidth = 420;
constexpr int kNotesHeight = 140;
constexpr int kSteps = 1000; // of the bar

} // namespace

UpdateDialog::UpdateDialog(QObject *updater, QWidget *parent)
    : QDialog(parent)
    , m_frame(this)
    , m_updater(updater)
    , m_text(new QLabel(this))
    , m_bar(new QProgressBar(this))
    , m_notes(new QTextBrowser(this))
    , m_now(new QPushButton(this))
    , m_later(new QPushButton(this))
{
    setAttribute(Qt::WA_DeleteOnClose);
    setObjectName(QStringLiteral("updateDialog"));
    setFixedWidth(kWidth);
    m_text->setObjectName(QStringLiteral("updateText"));
    m_text->setWordWrap(true);
    m_text->setTextFormat(Qt::PlainText);
    m_bar->setRange(0, 0);
    m_bar->setTextVisible(false);
    m_notes->setObjectName(QStringLiteral("updateNotes"));
    m_notes->setFixedHeight(kNotesHeight);
    m_notes->setOpenLinks(false);
    m_notes->hide();
    m_now->setObjectName(QStringLiteral("installNow"));
    m_later->setObjectName(QStringLiteral("installLater"));
    m_now->setProperty("primary", QVariant(true));
    m_frame.body()->addWidget(m_text);
    m_frame.body()->addWidget(m_bar);
    m_frame.body()->addWidget(m_notes);
    for (QPushButton *button : {m_now, m_later}) {
        button->hide();
        m_frame.buttons()->addWidget(button);
    }
    m_frame.addAnswers(tr("Close"));
    // It may come up while somebody types: no key but one that is meant starts anything.
    for (QPushButton *button : {m_now, m_later})
        button->setAutoDefault(false);
    retranslate();
    connect(m_now, &QPushButton::clicked, this, [this] {
        installLater();
        emit installNow();
    });
    connect(m_later, &QPushButton::clicked, this, &UpdateDialog::installLater);
    connect(updater, SIGNAL(UpdateProgress(qint64, qint64)), this, SLOT(showProgress(qint64, qint64)));
    connect(updater, SIGNAL(UpdateFinished(int)), this, SLOT(showResult(int)));
    connect(updater, &QObject::destroyed, this, [this] {
        m_updater = nullptr;
        close();
    });
}

void UpdateDialog::showEvent(QShowEvent *event)
{
    QDialog::showEvent(event);
    m_frame.focusAnswer();
    m_frame.present(m_text->text());
}

QString UpdateDialog::text() const
{
    return m_text->text();
}

bool UpdateDialog::canInstall() const
{
    bool can = false;
    if (m_updater)
        QMetaObject::invokeMethod(m_updater, "canInstall", Q_RETURN_ARG(bool, can));
    return can;
}

void UpdateDialog::installLater()
{
    if (m_updater)
        QMetaObject::invokeMethod(m_updater, "InstallOnExit");
    close();
}

void UpdateDialog::retranslate()
{
    m_frame.setTitle(tr("New version"));
    m_frame.setButtonText(QStringLiteral("ok"), tr("Close"));
    m_now->setText(tr("Install now"));
    m_later->setText(tr("When the program ends"));
    if (m_result >= 0)
        showResult(m_result);
    else if (m_total > 0)
        showProgress(m_received, m_total);
    else
        m_text->setText(tr("Looking for a new version..."));
}

void UpdateDialog::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QDialog::changeEvent(event);
}

void UpdateDialog::showProgress(qint64 received, qint64 total)
{
    m_received = received;
    m_total = total;
    m_bar->setRange(0, kSteps);
    m_bar->setValue(total > 0 ? int(double(received) / double(total) * kSteps) : 0);
    m_text->setText(
        tr("The new version is being fetched: %1 of %2").arg(sizeText(quint64(received)), sizeText(quint64(total))));
}

void UpdateDialog::showResult(int retcode)
{
    static const char *const texts[] = {QT_TR_NOOP("This is the newest version."), nullptr,
                                        QT_TR_NOOP("The update check failed."),
                                        QT_TR_NOOP("The update is not signed by the maker and was refused."),
                                        QT_TR_NOOP("There is not enough space for the update.")};
    constexpr int newer = 1;
    m_result = qMax(0, retcode);
    m_bar->hide();
    if (retcode != newer) {
        m_text->setText(tr(texts[retcode >= 0 && retcode <= 4 ? retcode : 2]));
        adjustSize();
        return;
    }
    const QString version = m_updater ? m_updater->property("latestVersion").toString() : QString();
    const QString notes = m_updater ? m_updater->property("notes").toString() : QString();
    const bool installable = canInstall();
    m_text->setText((installable ? tr("Version %1 is ready to be installed.")
                                 : tr("Version %1 is available. It comes through the package manager of this system."))
                        .arg(version));
    m_notes->setPlainText(notes);
    m_notes->setVisible(!notes.isEmpty());
    m_now->setVisible(installable);
    m_later->setVisible(installable);
    if (auto *close = findChild<QPushButton *>(QStringLiteral("ok"))) {
        close->setDefault(!installable);
        close->setAutoDefault(!installable);
    }
    if (installable)
        m_later->setFocus();
    adjustSize();
}
