#pragma once

#include <QByteArray>

#include <memory>

/// Unpacks a compressed reply piece by piece and stops at a limit, however small the packed data is.
class BodyInflater
{
public:
    /// True for the encodings that this class unpacks.
    static bool knows(const QByteArray &encoding);

    BodyInflater();
    ~BodyInflater();

    enum Result
    {
        Good,
        Broken,
        TooMuch
    };
    /// Appends what @p packed unpacks to, until @p out holds more than @p limit bytes.
    Result unpack(const QByteArray &packed, QByteArray *out, qint64 limit);
    /// True once the packed data has ended as it should.
    bool complete() const { return m_complete; }

private:
    struct Stream;
    std::unique_ptr<Stream> m_stream;
    bool m_complete = false;
};
