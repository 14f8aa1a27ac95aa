#include "ImagePreviewWidget.h"

#include "FileListing.h"
#include "FileTexts.h"
#include "GlobalConfig.h"
#include "PictureLoader.h"
#include "PictureView.h"

#include <QEvent>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QScreen>
#include <QStyle>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

constexpr double StopStep = 0.5;

QString stopsText(double stops)
{
    return (stops > 0 ? QStringLiteral("+") : QString()) + QString::number(stops, 'f', 1);
}

} // namespace

ImagePreviewWidget::ImagePreviewWidget(const QString &url, const CacheFolders &folders, QWidget *parent)
    : QWidget(parent, Qt::Window)
    , m_loader(new PictureLoader(url, folders, this))
    , m_view(new PictureView(this))
{
    setObjectName(QStringLiteral("ImagePreviewWidget"));
    setFocusPolicy(Qt::StrongFocus);
    m_view->setFocusProxy(this);
    m_bar = buildBar();
    m_hint = new QLabel(m_view);
    m_hint->setObjectName(QStringLiteral("previewHint"));
    m_hint->hide();
    m_left = button(m_view, "Left", "chevron-left");
    m_right = button(m_view, "Right", "chevron-right");
    for (QToolButton *side : {m_left, m_right}) {
        side->setFixedSize(44, 44);
        side->setCursor(Qt::ArrowCursor);
    }
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_view, 1);
    layout->addWidget(m_bar);

    const QScreen *screen = parent ? parent->screen() : QGuiApplication::primaryScreen();
    const QSize room = screen->availableSize();
    const QSize size(qMin(1200, room.width() * 9 / 10), qMin(820, room.height() * 17 / 20));
    setGeometry(QStyle::alignedRect(layoutDirection(), Qt::AlignCenter, size, screen->availableGeometry()));
    m_loader->setBox(room * screen->devicePixelRatio());

    connect(m_left, &QToolButton::clicked, this, &ImagePreviewWidget::previous);
    connect(m_right, &QToolButton::clicked, this, &ImagePreviewWidget::next);
    connect(m_loader, &PictureLoader::sigCheckCache, this, &ImagePreviewWidget::sigCheckCache);
    connect(m_loader, &PictureLoader::sigWritePreviewCache, this, &ImagePreviewWidget::sigWritePreviewCache);
    connect(m_loader, &PictureLoader::loaded, this, [this](const FileItem &item, const Picture &picture) {
        if (item.path == current().path)
            showPicture(picture, true);
    });
    connect(m_loader, &PictureLoader::failed, this, [this](const FileItem &item) {
        if (item.path == current().path)
            showState();
    });
    connect(m_loader, &PictureLoader::progress, this, [this](const FileItem &item, qint64 done, qint64 total) {
        if (item.path == current().path)
            showProgress(done, total);
    });
    connect(m_view, &PictureView::scaleChanged, this, [this] {
        placeOverPicture();
        showTexts();
    });
    retranslate();
}

ImagePreviewWidget::~ImagePreviewWidget() = default;

QToolButton *ImagePreviewWidget::button(QWidget *parent, const char *objectName, const char *icon)
{
    auto *made = new QToolButton(parent);
    made->setObjectName(QLatin1String(objectName));
    if (*icon)
        made->setIcon(QIcon(QStringLiteral(":/ArkvaleTolmaMain/Icon/%1.svg").arg(QLatin1String(icon))));
    made->setIconSize(QSize(18, 18));
    made->setAutoRaise(true);
    made->setFocusPolicy(Qt::NoFocus); // the keys belong to the picture
    return made;
}

QWidget *ImagePreviewWidget::buildBar()
{
    auto *bar = new QWidget(this);
    bar->setObjectName(QStringLiteral("Down"));
    bar->setAttribute(Qt::WA_StyledBackground);
    const auto label = [bar](const char *name) {
        auto *made = new QLabel(bar);
        made->setObjectName(QLatin1String(name));
        made->setTextFormat(Qt::PlainText);
        return made;
    };
    m_name = label("previewName");
    m_name->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_position = label("previewPosition");
    m_size = label("previewSize");
    m_stopsLabel = label("previewStops");
    m_scale = label("previewScale");
    m_scale->setMinimumWidth(fontMetrics().horizontalAdvance(QStringLiteral("3200 %")));
    m_scale->setAlignment(Qt::AlignCenter);
    m_darker = button(bar, "darkerButton", "");
    m_darker->setText(QStringLiteral("\u2212"));
    m_brighter = button(bar, "brighterButton", "");
    m_brighter->setText(QStringLiteral("+"));
    m_fit = button(bar, "fitButton", "");
    m_full = button(bar, "fullSizeButton", "");
    m_full->setText(QStringLiteral("1:1"));
    m_download = button(bar, "downloadButton", "download");
    m_delete = button(bar, "deleteButton", "delete");
    for (QToolButton *wide : {m_download, m_delete})
        wide->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    auto *layout = new QHBoxLayout(bar);
    layout->setContentsMargins(14, 6, 10, 6);
    layout->setSpacing(6);
    layout->addWidget(m_name, 1);
    layout->addWidget(m_position);
    layout->addSpacing(8);
    layout->addWidget(m_size);
    layout->addSpacing(12);
    for (QWidget *part :
         {static_cast<QWidget *>(m_darker), static_cast<QWidget *>(m_stopsLabel), static_cast<QWidget *>(m_brighter),
          static_cast<QWidget *>(m_fit), static_cast<QWidget *>(m_full), static_cast<QWidget *>(m_scale)})
        layout->addWidget(part);
    layout->addSpacing(8);
    layout->addWidget(m_download);
    layout->addWidget(m_delete);
    connect(m_darker, &QToolButton::clicked, this, [this] { changeStops(-StopStep); });
    connect(m_brighter, &QToolButton::clicked, this, [this] { changeStops(StopStep); });
    connect(m_fit, &QToolButton::clicked, m_view, &PictureView::fit);
    connect(m_full, &QToolButton::clicked, m_view, &PictureView::fullSize);
    connect(m_download, &QToolButton::clicked, this, &ImagePreviewWidget::sigDownload);
    connect(m_delete, &QToolButton::clicked, this, &ImagePreviewWidget::sigDelete);
    return bar;
}

void ImagePreviewWidget::retranslate()
{
    m_fit->setText(tr("Fit"));
    m_download->setText(tr("Download"));
    m_delete->setText(tr("Delete"));
    const struct
    {
        QToolButton *button;
        QString text;
        const char *keys;
    } texts[] = {
        {m_left, tr("Previous image"), "Left"}, {m_right, tr("Next image"), "Right"},
        {m_fit, tr("Fit to the window"), "0"},  {m_full, tr("Full size"), "1"},
        {m_darker, tr("Darker"), "["},          {m_brighter, tr("Brighter"), "]"},
        {m_download, tr("Download"), "Ctrl+S"}, {m_delete, tr("Delete"), "Del"},
    };
    for (const auto &entry : texts) {
        entry.button->setToolTip(QStringLiteral("%1 (%2)").arg(entry.text, QLatin1String(entry.keys)));
        entry.button->setAccessibleName(entry.text);
    }
    m_view->setAccessibleName(tr("Image"));
    showState();
}

void ImagePreviewWidget::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QWidget::changeEvent(event);
}

// Images

FileItem ImagePreviewWidget::current() const
{
    return m_images.value(m_index);
}

bool ImagePreviewWidget::isImage(const FileItem &item)
{
    return !item.isFolder() && (item.contentType.startsWith(QLatin1String("image/")) ||
                                item.name.endsWith(QLatin1String(".psd"), Qt::CaseInsensitive));
}

void ImagePreviewWidget::setForeign(const std::function<FetchJob::Request(const FileItem &)> &requests)
{
    m_loader->setRequests(requests);
    m_delete->hide();
}

void ImagePreviewWidget::setImages(const QList<FileItem> &images, int index)
{
    m_images = images;
    m_index = -1;
    go(index);
}

void ImagePreviewWidget::removeImages(QStringList paths)
{
    const QString shown = current().path;
    int index = m_index;
    for (int i = m_images.size() - 1; i >= 0; --i) {
        if (!paths.contains(m_images.at(i).path))
            continue;
        m_images.removeAt(i);
        if (i < index)
            --index;
    }
    if (m_images.isEmpty()) {
        close();
        return;
    }
    m_index = qMin(index, m_images.size() - 1);
    if (current().path != shown)
        go(m_index);
    else
        showTexts();
}

void ImagePreviewWidget::go(int index)
{
    if (m_images.isEmpty())
        return;
    m_forward = index >= m_index;
    m_index = qBound(0, index, m_images.size() - 1);
    QList<FileItem> wanted;
    const int way = m_forward ? 1 : -1;
    for (int offset : {0, way, 2 * way, -way}) {
        const int at = m_index + offset;
        if (at >= 0 && at < m_images.size() && FileListing::isPicture(m_images.at(at)))
            wanted.append(m_images.at(at));
        else if (offset == 0)
            break; // nothing is loaded for what is not shown as an image
    }
    m_stopsKnown = false;
    m_stops = 0;
    showPicture(m_loader->picture(current()), false);
    m_loader->want(wanted);
}

void ImagePreviewWidget::next()
{
    if (m_index + 1 < m_images.size())
        go(m_index + 1);
}

void ImagePreviewWidget::previous()
{
    if (m_index > 0)
        go(m_index - 1);
}

void ImagePreviewWidget::previewCacheVaild(FileItem item, QSize size, QByteArray bytes)
{
    m_loader->previewCacheVaild(item, size, bytes);
}

void ImagePreviewWidget::previewCacheInvaild(FileItem item, QSize size)
{
    m_loader->previewCacheInvaild(item, size);
}

// What is seen

void ImagePreviewWidget::showPicture(const Picture &picture, bool sameImage)
{
    if (picture.light && !m_stopsKnown) {
        m_stopsKnown = true;
        m_stops = m_firstStops = picture.stops;
    }
    m_view->setPicture(picture, sameImage);
    showState();
}

void ImagePreviewWidget::showState()
{
    const FileItem item = current();
    const Picture picture = m_loader->picture(item);
    if (!FileListing::isPicture(item))
        m_view->setMessage(tr("Preview of the file is not supported."));
    else if (m_loader->hasFailed(item))
        m_view->setMessage(tr("File loading failed!"));
    else
        m_view->setMessage(tr("Loading..."));
    m_hint->setVisible(picture.isStandIn);
    if (picture.isStandIn) {
        m_hint->setText(tr("Preview of file larger than %1MB is not supported, please download it.")
                            .arg(GlobalConfig::instance()->previewFileMaxSize()));
        m_hint->adjustSize();
    }
    m_left->setVisible(m_index > 0);
    m_right->setVisible(m_index + 1 < m_images.size());
    showTexts();
}

void ImagePreviewWidget::showProgress(qint64 done, qint64 total)
{
    if (total > 0)
        m_view->setMessage(tr("Loading... %1%").arg(qBound<qint64>(0, done * 100 / total, 100)));
}

void ImagePreviewWidget::showTexts()
{
    if (!m_name)
        return;
    const FileItem item = current();
    const Picture picture = m_loader->picture(item);
    const QString name = FileTexts::line(item.name);
    m_name->setText(m_name->fontMetrics().elidedText(name, Qt::ElideMiddle, qMax(40, m_name->width())));
    m_name->setToolTip(FileTexts::plainToolTip(name));
    setWindowTitle(name);
    m_position->setText(QStringLiteral("(%1/%2)").arg(m_index + 1).arg(m_images.size()));
    const bool known = !picture.isNull() && !picture.isStandIn;
    m_size->setText(known ? QStringLiteral("%1 \u00d7 %2").arg(picture.stored.width()).arg(picture.stored.height())
                          : QString());
    m_scale->setText(picture.isNull() ? QString() : QStringLiteral("%1%").arg(qRound(m_view->scale() * 100)));
    m_stopsLabel->setText(stopsText(m_stops));
    m_stopsLabel->setAccessibleName(tr("Exposure"));
    m_stopsLabel->setToolTip(tr("Exposure"));
    for (QWidget *part :
         {static_cast<QWidget *>(m_darker), static_cast<QWidget *>(m_brighter), static_cast<QWidget *>(m_stopsLabel)})
        part->setVisible(picture.isBright);
    m_fit->setEnabled(!picture.isNull());
    m_full->setEnabled(!picture.isNull());
}

void ImagePreviewWidget::changeStops(double by)
{
    if (!m_stopsKnown)
        return;
    m_stops = qBound(-12.0, m_stops + by, 12.0);
    m_loader->setStops(m_stops);
    showTexts();
}

void ImagePreviewWidget::resetStops()
{
    changeStops(m_firstStops - m_stops);
}

void ImagePreviewWidget::toggleFullScreen()
{
    setWindowState(windowState() ^ Qt::WindowFullScreen);
    m_bar->setVisible(!isFullScreen());
}

void ImagePreviewWidget::keyPressEvent(QKeyEvent *event)
{
    constexpr int MoveStep = 80; // pixels
    const bool control = event->modifiers() & Qt::ControlModifier;
    const bool moves = !m_view->fits();
    switch (event->key()) {
    case Qt::Key_Left:
        return control && moves ? m_view->moveBy({MoveStep, 0}) : previous();
    case Qt::Key_Right:
        return control && moves ? m_view->moveBy({-MoveStep, 0}) : next();
    case Qt::Key_Up:
        return m_view->moveBy({0, MoveStep});
    case Qt::Key_Down:
        return m_view->moveBy({0, -MoveStep});
    case Qt::Key_PageUp:
    case Qt::Key_Backspace:
        return previous();
    case Qt::Key_PageDown:
    case Qt::Key_Space:
        return next();
    case Qt::Key_Home:
        return go(0);
    case Qt::Key_End:
        return go(m_images.size() - 1);
    case Qt::Key_Plus:
    case Qt::Key_Equal:
        return m_view->zoomIn();
    case Qt::Key_Minus:
        return m_view->zoomOut();
    case Qt::Key_1:
        return m_view->fullSize();
    case Qt::Key_0:
        return m_view->fit();
    case Qt::Key_BracketLeft:
        return changeStops(-StopStep);
    case Qt::Key_BracketRight:
        return changeStops(StopStep);
    case Qt::Key_Backslash:
        return resetStops();
    case Qt::Key_F5:
        return m_loader->retry();
    case Qt::Key_F11:
        return toggleFullScreen();
    case Qt::Key_Delete:
        if (!m_delete->isHidden())
            emit sigDelete();
        return;
    case Qt::Key_S:
        if (control)
            emit sigDownload();
        return;
    case Qt::Key_Escape:
        if (isFullScreen())
            toggleFullScreen();
        else
            close();
        return;
    default:
        QWidget::keyPressEvent(event);
    }
}

void ImagePreviewWidget::placeOverPicture()
{
    const int middle = (m_view->height() - m_left->height()) / 2;
    m_left->move(14, middle);
    m_right->move(m_view->width() - m_right->width() - 14, middle);
    m_hint->move(14, 12);
}
