// Makes thumbnails for the service, one image at a time, in a process that has no other job: what a crafted image may
// do to a decoder happens here. The process can write no file, has bounded memory, and ends with its socket.

#include "ThumbnailWire.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QFile>
#include <QImage>
#include <QImageReader>
#include <QImageWriter>

#include <cerrno>
#include <cstring>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using namespace arkvale::thumbnails;

void limitSelf()
{
    const auto limit = [](auto what, rlim_t most) {
        const rlimit both{most, most};
        setrlimit(what, &both);
    };
    limit(RLIMIT_CORE, 0);
    limit(RLIMIT_FSIZE, 0);
    limit(RLIMIT_NOFILE, 64);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    limit(RLIMIT_AS, rlim_t(3) << 30);
#endif
}

/// The descriptor that came with the request, or -1 when the service has gone.
int receive(Request &request)
{
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    iovec piece{&request, sizeof(request)};
    msghdr message = {};
    message.msg_iov = &piece;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof(control);
    ssize_t got = -1;
    do {
        got = recvmsg(kSocket, &message, MSG_CMSG_CLOEXEC | MSG_WAITALL);
    } while (got < 0 && errno == EINTR);
    const cmsghdr *header = CMSG_FIRSTHDR(&message);
    int fd = -1;
    if (header && header->cmsg_type == SCM_RIGHTS)
        std::memcpy(&fd, CMSG_DATA(header), sizeof(fd));
    return got == static_cast<ssize_t>(sizeof(request)) ? fd : -1;
}

bool sendAll(const void *data, std::size_t size)
{
    const char *at = static_cast<const char *>(data);
    while (size > 0) {
        const ssize_t n = send(kSocket, at, size, MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        at += n;
        size -= static_cast<std::size_t>(n);
    }
    return true;
}

QByteArray render(int fd, const Request &request)
{
    QFile file;
    if (!file.open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle))
        return {};
    const QByteArray format(request.format, static_cast<int>(strnlen(request.format, sizeof(request.format))));
    QImageReader reader(&file, format);
    // The format is settled: otherwise every decoder would have a look, the ones that run programs as well.
    reader.setAutoDetectImageFormat(false);
    reader.setDecideFormatFromContent(false);
    reader.setAutoTransform(true);
    const QSize stored = reader.size();
    if (stored.isValid() && qint64(stored.width()) * stored.height() > kMaxPixels)
        return {};
    QSize box(int(qBound(1u, request.width, kMaxSide)), int(qBound(1u, request.height, kMaxSide)));
    if (stored.isValid() && !stored.isEmpty()) {
        // The reader scales before it turns the image.
        const QSize turned = reader.transformation() & QImageIOHandler::TransformationRotate90 ? box.transposed() : box;
        if (stored.width() > turned.width() || stored.height() > turned.height())
            reader.setScaledSize(stored.scaled(turned, Qt::KeepAspectRatio).expandedTo(QSize(1, 1)));
    }
    QImage image = reader.read();
    if (image.isNull())
        return {};
    if (image.width() > box.width() || image.height() > box.height()) {
        const QSize size = image.size().scaled(box, Qt::KeepAspectRatio).expandedTo(QSize(1, 1));
        image = image.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    }
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, "png");
    return writer.write(image) ? png : QByteArray();
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QImageReader::supportedImageFormats(); // Loads the plug-ins while files may still be opened freely.
    limitSelf();
    for (;;) {
        Request request;
        const int fd = receive(request);
        if (fd < 0)
            return 0;
        // A decoder that never returns takes the process with it, also when the service is gone.
        alarm(qBound(1u, request.seconds, 600u));
        const QByteArray png = render(fd, request);
        alarm(0);
        Reply reply;
        reply.decoded = png.isEmpty() || png.size() > int(kMaxReply) ? 0 : 1;
        reply.size = reply.decoded ? std::uint32_t(png.size()) : 0;
        if (!sendAll(&reply, sizeof(reply)) || !sendAll(png.constData(), reply.size))
            return 0;
    }
}
