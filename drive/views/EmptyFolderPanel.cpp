#include "EmptyFolderPanel.h"

#include "DropDecision.h"
#include "FileItemModel.h"

#include <QDragEnterEvent>
#include <QIcon>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

EmptyFolderPanel::EmptyFolderPanel(QWidget *parent)
    : QFrame(parent)
    , m_picture(new QLabel(this))
    , m_title(new QLabel(this))
    , m_text(new QLabel(this))
    , m_upload(new QPushButton(this))
{
    setObjectName(QStringLiteral("emptyFolder"));
    setAcceptDrops(true);
    setFocusPolicy(Qt::StrongFocus);
    setContextMenuPolicy(Qt::CustomContextMenu);
    m_title->setObjectName(QStringLiteral("emptyTitle"));
    m_text->setObjectName(QStringLiteral("emptyText"));
    m_upload->setObjectName(QStringLiteral("emptyUpload"));
    m_upload->setProperty("primary", true);
    m_title->setStyleSheet(QStringLiteral("font-size: 18px;"));
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::Base);
    auto *layout = new QVBoxLayout(this);
    layout->addStretch(2);
    for (QWidget *part : {static_cast<QWidget *>(m_picture), static_cast<QWidget *>(m_title),
                          static_cast<QWidget *>(m_text), static_cast<QWidget *>(m_upload)}) {
        layout->addWidget(part, 0, Qt::AlignHCenter);
        layout->addSpacing(6);
    }
    layout->addStretch(3);
    connect(m_upload, &QPushButton::clicked, this, &EmptyFolderPanel::uploadClicked);
    setKind(EmptyFolder);
}

void EmptyFolderPanel::setKind(Kind kind)
{
    m_kind = kind;
    const bool folder = kind == EmptyFolder;
    const QString icon = folder ? QStringLiteral("folder") : QStringLiteral("search");
    m_picture->setPixmap(QIcon(QStringLiteral(":/ArkvaleTolmaMain/Icon/%1.svg").arg(icon)).pixmap(72, 72));
    m_title->setText(folder ? tr("large space") : tr("Nothing found"));
    m_text->setText(folder                   ? tr("and waiting for  you to fill, hurry to upload ~")
                    : kind == NothingMatches ? tr("No name in this folder holds the text of the filter.")
                                             : tr("No file or folder of the drive has a name like that."));
    m_upload->setText(tr("Upload"));
    m_upload->setVisible(folder);
}

void EmptyFolderPanel::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        setKind(m_kind);
    QFrame::changeEvent(event);
}

void EmptyFolderPanel::dragEnterEvent(QDragEnterEvent *event)
{
    dragMoveEvent(event);
}

void EmptyFolderPanel::dragMoveEvent(QDragMoveEvent *event)
{
    DropDecision::apply(DropDecision::of(event->mimeData(), m_model->dropFolder({}), m_model->subCenterId()), event);
}

void EmptyFolderPanel::dropEvent(QDropEvent *event)
{
    m_model->dropMimeData(event->mimeData(), event->dropAction(), -1, -1, {});
    event->accept();
}
