#include "NewFolderWidget.h"

#include "FileNameRules.h"
#include "MsgDlg.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QRegularExpressionValidator>
#include <QVBoxLayout>

NewFolderWidget::NewFolderWidget(Mode mode, const QSet<QString> &existing, const QString &oldName, QWidget *parent)
    : QDialog(parent)
    , m_mode(mode)
    , m_existing(existing)
    , m_oldName(oldName)
    , m_edit(new QLineEdit(this))
{
    setObjectName(QStringLiteral("NewFolderWidget"));
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    const QString titles[] = {tr("New Folder"), tr("Rename"), tr("Compress")};
    setWindowTitle(titles[mode]);

    m_edit->setObjectName(QStringLiteral("nameEdit"));
    m_edit->setMinimumWidth(320);
    m_edit->setMaxLength(255);
    m_edit->setPlaceholderText(tr("Enter the file name"));
    m_edit->setAccessibleName(tr("Name"));
    m_edit->setValidator(new QRegularExpressionValidator(QRegularExpression(FileNameRules::pattern()), m_edit));
    if (mode == Rename)
        m_edit->setText(oldName);
    else if (mode == Compress)
        m_edit->setText(QStringLiteral("NRX.zip"));
    const int dot = m_edit->text().lastIndexOf(QLatin1Char('.'));
    m_edit->setSelection(0, dot > 0 ? dot : m_edit->text().size());

    auto *label = new QLabel(titles[mode], this);
    label->setBuddy(m_edit);
    auto *buttons = new QDialogButtonBox(this);
    QPushButton *ok = buttons->addButton(tr("OK"), QDialogButtonBox::AcceptRole);
    ok->setObjectName(QStringLiteral("ok"));
    ok->setDefault(true);
    buttons->addButton(tr("Cancel"), QDialogButtonBox::RejectRole)->setObjectName(QStringLiteral("cancel"));

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 18, 20, 16);
    layout->setSpacing(12);
    layout->addWidget(label);
    layout->addWidget(m_edit);
    layout->addSpacing(4);
    layout->addWidget(buttons);
    setSizeGripEnabled(false);

    connect(m_edit, &QLineEdit::textChanged, this, &NewFolderWidget::MatchFileName);
    connect(buttons, &QDialogButtonBox::accepted, this,
            mode == Compress ? &NewFolderWidget::onCompress : &NewFolderWidget::OkPressed);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

void NewFolderWidget::MatchFileName(const QString &text)
{
    // The validator keeps typed text within the rules; text set by other ways shows that it is not.
    m_edit->setProperty("invalid", !text.isEmpty() && !FileNameRules::matches(text));
}

void NewFolderWidget::OkPressed()
{
    const QString name = m_edit->text();
    take(name, m_mode == Rename ? FileNameRules::renameRefusal(name, m_oldName, m_existing)
                                : FileNameRules::refusal(name, m_existing));
}

void NewFolderWidget::onCompress()
{
    const QString name = m_edit->text();
    const QString archive = name.isEmpty() ? name : FileNameRules::archiveName(name);
    take(archive, FileNameRules::refusal(archive, m_existing));
}

void NewFolderWidget::take(const QString &name, const QString &refusal)
{
    if (!refusal.isEmpty())
        return refuse(refusal);
    if (!FileNameRules::matches(name))
        return m_edit->setFocus();
    m_name = name;
    accept();
}

void NewFolderWidget::refuse(const QString &text)
{
    const QPointer<NewFolderWidget> self(this);
    const QPointer<MsgDlg> notice = new MsgDlg(this);
    notice->setTitle(tr("Tip"));
    notice->setText(text);
    notice->setButtonVisible(QStringLiteral("ok"), false);
    notice->exec();
    delete notice;
    if (self)
        m_edit->setFocus();
}
