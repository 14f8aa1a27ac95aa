#include "ReportDialog.h"

#include "FileTexts.h"
#include "ShareService.h"

#include <QButtonGroup>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QShortcut>
#include <QVBoxLayout>

namespace {

constexpr int kWidth = 480;
constexpr int kMostPictures = 5;
constexpr qint64 kMostBytes = 7 * 512 * 1024; // of all pictures
constexpr int kMostText = 2000;

/// What is sent, and what is shown.
struct Reason
{
    const char *word;
    const char *text;
};
const Reason kReasons[] = {{"copyright", QT_TRANSLATE_NOOP("ReportDialog", "It belongs to somebody else")},
                           {"harmful", QT_TRANSLATE_NOOP("ReportDialog", "It is harmful, such as a virus or a fraud")},
                           {"illegal", QT_TRANSLATE_NOOP("ReportDialog", "It is illegal or offensive")},
                           {"spam", QT_TRANSLATE_NOOP("ReportDialog", "It is advertising that I did not ask for")},
                           {"other", QT_TRANSLATE_NOOP("ReportDialog", "Something else")}};

} // namespace

ReportDialog::ReportDialog(ShareService *service, const ShareRecord &record, QWidget *parent)
    : QDialog(parent)
    , m_frame(this)
    , m_service(service)
    , m_record(record)
    , m_reasons(new QButtonGroup(this))
    , m_text(new QPlainTextEdit(this))
    , m_pictures(new QListWidget(this))
    , m_hint(new QLabel(this))
{
    setModal(true);
    setObjectName(QStringLiteral("reportDialog"));
    setFixedWidth(kWidth);
    m_frame.setTitle(tr("Report a share"));
    auto *name = new QLabel(this);
    name->setTextFormat(Qt::PlainText);
    name->setText(name->fontMetrics().elidedText(
        tr("%1, shared by %2").arg(FileTexts::line(record.name), FileTexts::line(record.owner)), Qt::ElideMiddle,
        kWidth - 60));
    m_frame.body()->addWidget(name);
    for (int i = 0; i < int(sizeof kReasons / sizeof *kReasons); ++i) {
        auto *reason = new QRadioButton(tr(kReasons[i].text), this);
        reason->setObjectName(QLatin1String(kReasons[i].word));
        m_reasons->addButton(reason, i);
        m_frame.body()->addWidget(reason);
    }
    m_text->setPlaceholderText(tr("What is wrong with it?"));
    m_text->setObjectName(QStringLiteral("reportText"));
    m_text->setAccessibleName(tr("What is wrong with it?"));
    m_text->setTabChangesFocus(true);
    m_text->setFixedHeight(84);
    m_pictures->setObjectName(QStringLiteral("pictures"));
    m_pictures->setAccessibleName(tr("Pictures"));
    m_pictures->setFixedHeight(72);
    m_pictures->setSelectionMode(QAbstractItemView::ExtendedSelection);
    auto *add = new QPushButton(tr("Add pictures..."), this);
    add->setObjectName(QStringLiteral("addPictures"));
    auto *remove = new QPushButton(tr("Remove"), this);
    m_remove = remove;
    auto *row = new QHBoxLayout;
    row->addWidget(add);
    row->addWidget(remove);
    row->addStretch(1);
    m_hint->setProperty("warning", true);
    m_hint->setWordWrap(true);
    m_hint->setTextFormat(Qt::PlainText);
    m_hint->hide();
    m_frame.body()->addWidget(m_text);
    m_frame.body()->addWidget(m_pictures);
    m_frame.body()->addLayout(row);
    m_frame.body()->addWidget(m_hint);
    m_frame.addAnswers(tr("Report"), tr("Cancel"));

    const auto removeSelected = [this] {
        qDeleteAll(m_pictures->selectedItems());
        refresh();
    };
    connect(add, &QPushButton::clicked, this, &ReportDialog::choosePictures);
    connect(remove, &QPushButton::clicked, this, removeSelected);
    auto *key = new QShortcut(QKeySequence(Qt::Key_Delete), m_pictures, nullptr, nullptr, Qt::WidgetShortcut);
    connect(key, &QShortcut::activated, this, removeSelected);
    connect(m_reasons, QOverload<QAbstractButton *>::of(&QButtonGroup::buttonClicked), this, &ReportDialog::refresh);
    connect(m_text, &QPlainTextEdit::textChanged, this, &ReportDialog::refresh);
    connect(service, &ShareService::handlerReportShareFinished, this, [this] { QDialog::accept(); });
    connect(service, &ShareService::handlerRequestFailed, this, [this](const QString &operation, int code) {
        if (operation != QLatin1String("reportShare"))
            return;
        m_asked = false;
        tell(ShareService::reasonOf(code));
        refresh();
    });
    connect(service, &ShareService::sigLogout, this, &QDialog::reject);
    refresh();
}

void ReportDialog::showEvent(QShowEvent *event)
{
    QDialog::showEvent(event);
    m_frame.present(m_record.name);
    m_reasons->button(0)->setFocus();
}

QStringList ReportDialog::pictures() const
{
    QStringList files;
    for (int row = 0; row < m_pictures->count(); ++row)
        files << m_pictures->item(row)->data(Qt::UserRole).toString();
    return files;
}

void ReportDialog::choosePictures()
{
    addPictures(QFileDialog::getOpenFileNames(this, tr("Add pictures"), QString(),
                                              tr("Pictures") + QStringLiteral(" (*.png *.jpg *.jpeg *.webp)")));
}

void ReportDialog::addPictures(const QStringList &files)
{
    m_hint->hide();
    qint64 bytes = 0;
    for (const QString &file : pictures())
        bytes += QFileInfo(file).size();
    for (const QString &file : files) {
        bytes += QFileInfo(file).size();
        if (pictures().contains(file))
            continue;
        if (m_pictures->count() >= kMostPictures || bytes > kMostBytes) {
            tell(tr("At most 5 pictures of 3.5 MB together."));
            break;
        }
        auto *item = new QListWidgetItem(QFileInfo(file).fileName(), m_pictures);
        item->setData(Qt::UserRole, file);
    }
    refresh();
}

void ReportDialog::refresh()
{
    if (m_text->toPlainText().size() > kMostText) {
        const QSignalBlocker blocker(m_text);
        m_text->setPlainText(m_text->toPlainText().left(kMostText));
        m_text->moveCursor(QTextCursor::End);
    }
    const bool pictured = m_pictures->count() > 0;
    if (m_pictures->isHidden() == pictured) {
        m_pictures->setVisible(pictured);
        m_remove->setVisible(pictured);
        adjustSize();
    }
    const bool other = m_reasons->checkedId() == int(sizeof kReasons / sizeof *kReasons) - 1;
    if (auto *ok = findChild<QPushButton *>(QStringLiteral("ok")))
        ok->setEnabled(!m_asked && m_reasons->checkedId() >= 0 &&
                       !(other && m_text->toPlainText().trimmed().isEmpty()));
}

void ReportDialog::tell(const QString &text)
{
    m_hint->setText(text);
    m_hint->show();
}

void ReportDialog::accept()
{
    if (m_reasons->checkedId() < 0)
        return;
    m_asked = true;
    refresh();
    m_service->reportShare(m_record, QLatin1String(kReasons[m_reasons->checkedId()].word), pictures(),
                           m_text->toPlainText());
}
