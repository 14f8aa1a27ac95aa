#include "BodyInflater.h"

#include <zlib.h>

struct BodyInflater::Stream
{
    z_stream z = {};
    bool ready = false;
};

bool BodyInflater::knows(const QByteArray &encoding)
{
    const QByteArray name = encoding.trimmed().toLower();
    return name == "gzip" || name == "x-gzip" || name == "deflate";
}

BodyInflater::BodyInflater()
    : m_stream(std::make_unique<Stream>())
{
    constexpr int kGzipOrZlib = 32; // zlib looks at the first bytes
    m_stream->ready = inflateInit2(&m_stream->z, MAX_WBITS + kGzipOrZlib) == Z_OK;
}

BodyInflater::~BodyInflater()
{
    if (m_stream->ready)
        inflateEnd(&m_stream->z);
}

BodyInflater::Result BodyInflater::unpack(const QByteArray &packed, QByteArray *out, qint64 limit)
{
    if (!m_stream->ready)
        return Broken;
    z_stream &z = m_stream->z;
    z.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(packed.constData()));
    z.avail_in = uInt(packed.size());
    char block[64 * 1024];
    do {
        if (m_complete)
            return z.avail_in ? Broken : Good;
        z.next_out = reinterpret_cast<Bytef *>(block);
        z.avail_out = sizeof block;
        const int result = inflate(&z, Z_NO_FLUSH);
        if (result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR)
            return Broken;
        out->append(block, int(sizeof block - z.avail_out));
        if (out->size() > limit)
            return TooMuch;
        m_complete = result == Z_STREAM_END;
    } while (z.avail_in > 0 || z.avail_out == 0);
    return Good;
}
