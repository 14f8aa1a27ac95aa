#pragma once

#include <QByteArray>
#include <QString>

#include <cstring>

/// Walks over a JSON text once, without building a tree of it: a listing of a hundred thousand entries costs a tenth of
/// the time and memory of a document. The caller takes each value by its kind or skips it. Once something is not JSON
/// the scanner has failed and yields nothing more; text that is not UTF-8 reads as replacement characters. A plain
/// value that refers to the caller's bytes; any thread.
class JsonScanner
{
public:
    /// A piece of the text.
    struct Piece
    {
        const char *begin = nullptr;
        int size = 0;

        bool operator==(const Piece &other) const
        {
            return size == other.size && (begin == other.begin || std::memcmp(begin, other.begin, size_t(size)) == 0);
        }
        bool is(const char *word, int length) const
        {
            return size == length && std::memcmp(begin, word, size_t(length)) == 0;
        }
        template <int Length>
        bool is(const char (&word)[Length]) const
        {
            return is(word, Length - 1);
        }
        /// Without a copy; holds as long as the text.
        QByteArray bytes() const { return QByteArray::fromRawData(begin, size); }
    };

    explicit JsonScanner(const QByteArray &text);

    bool failed() const { return m_failed; }
    /// Nothing but blanks is left.
    bool atEnd();

    /// Steps into the next value if it is an object or array; else takes nothing.
    bool enterObject();
    bool enterArray();
    /// The next member of the object entered last; false behind its end. @p key holds until the next call.
    bool nextKey(Piece *key);
    /// There is another element in the array entered last; false behind its end.
    bool nextElement();

    /// The next value, whatever it is. Each takes it and yields an empty text or 0 where it is of another kind.
    QString string();
    qint32 int32();
    /// A number, or the decimal text of one, cut to the range.
    quint64 unsigned64();
    void skip();

    /// The bytes of the next value, taken; for a string with its quotes, not yet decoded.
    Piece raw();
    static QString decoded(const Piece &quoted);

private:
    char peek();
    bool next(char open, char close);
    void skipString();
    void fail();

    const char *m_at;
    const char *m_end;
    QByteArray m_key;     ///< one that is written with escapes
    bool m_first = false; ///< nothing was taken yet from the object or array entered last
    bool m_failed = false;
};
