#include "EmptyFolderPanel.h"

#include "DriveClipboard.h"

#include <QDragEnterEvent>
#include <QIcon>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

EmptyFolderPanel::EmptyFolderPanel(QWidget *parent)
    : QFrame(parent)
    , m_title(new QLabel(this))
    , m_text(new QLabel(this))
    , m_upload(new QPushButton(this))
{
    setObjectName(QStringLiteral("emptyFolder"));
    setAcceptDrops(true);
    setFocusPolicy(Qt::StrongFocus);
    setContextMenuPolicy(Qt::CustomContextMenu);
    auto *picture = new QLabel(this);
    picture->setPixmap(QIcon(QStringLiteral(":/ArkvaleTolmaMain/Icon/folder.svg")).pixmap(72, 72));
    m_title->setObjectName(QStringLiteral("emptyTitle"));
    m_text->setObjectName(QStringLiteral("emptyText"));
    m_upload->setObjectName(QStringLiteral("emptyUpload"));
    m_upload->setProperty("primary", true);
    m_title->setStyleSheet(QStringLiteral("font-size: 18px;"));
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::Base);
    auto *layout = new QVBoxLayout(this);
    layout->addStretch(2);
    for (QWidget *part : {static_cast<QWidget *>(picture), static_cast<QWidget *>(m_title),
                          static_cast<QWidget *>(m_text), static_cast<QWidget *>(m_upload)}) {
        layout->addWidget(part, 0, Qt::AlignHCenter);
        layout->addSpacing(6);
    }
    layout->addStretch(3);
    connect(m_upload, &QPushButton::clicked, this, &EmptyFolderPanel::uploadClicked);
    setSearchResult(false);
}

void EmptyFolderPanel::setSearchResult(bool search)
{
    m_search = search;
    m_title->setText(search ? tr("Nothing found") : tr("large space"));
    m_text->setText(search ? tr("No file or folder of the drive has a name like that.")
                           : tr("and waiting for  you to fill, hurry to upload ~"));
    m_upload->setText(tr("Upload"));
    m_upload->setVisible(!search);
}

void EmptyFolderPanel::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        setSearchResult(m_search);
    QFrame::changeEvent(event);
}

void EmptyFolderPanel::dragEnterEvent(QDragEnterEvent *event)
{
    if (!m_search && (event->mimeData()->hasUrls() || event->mimeData()->hasFormat(DriveClipboard::format())))
        event->acceptProposedAction();
}

void EmptyFolderPanel::dropEvent(QDropEvent *event)
{
    event->acceptProposedAction();
    emit dropped(event->mimeData());
}
