#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace zpdt {

enum class FileError
{
    None,
    NotFound,
    Exists,
    NotFolder,
    IsFolder,
    NotEmpty,
    BadName, ///< A name that is not one component, or that this disk cannot hold.
    Denied,  ///< No rights, a link on the way, or neither a file nor a folder.
    NoSpace,
    Other
};

/// How a file operation ended; nothing here throws.
struct FileResult
{
    FileError error = FileError::None;
    int code = 0; ///< errno or GetLastError(), 0 when the system was not asked.

    bool ok() const { return error == FileError::None; }
    /// English text of the error, with the system's own words.
    std::string message() const;
};

struct FileStat
{
    enum class Type
    {
        File,
        Folder,
        Link, ///< Symbolic link or other reparse point; never followed.
        Other
    };
    Type type = Type::Other;
    std::uint64_t size = 0;      ///< Bytes; 0 for a folder.
    std::int64_t modifiedNs = 0; ///< Nanoseconds since the Unix epoch, UTC.
    std::int64_t changedNs = 0;  ///< As modifiedNs, of name, rights and times too
                                 ///< where the system keeps that.
    std::uint64_t id = 0;        ///< Number of the file on its volume (0 when the system does not say).
    std::uint32_t links = 1;     ///< Names that the file has; not filled in by list() everywhere.
    std::uint64_t volume = 0;    ///< Number of the volume; not filled in by list().

    bool isFile() const { return type == Type::File; }
    bool isFolder() const { return type == Type::Folder; }
};

/// One open file, closed with its last owner. Calls at different offsets may run on several threads at once, except
/// close().
class SafeFile
{
public:
    using Native = std::intptr_t; ///< File descriptor, or HANDLE on Windows.
    static constexpr Native kNone = -1;

    SafeFile() = default;
    explicit SafeFile(Native handle)
        : m_handle(handle)
    {
    }
    SafeFile(SafeFile &&other) noexcept
        : m_handle(other.release())
    {
    }
    SafeFile &operator=(SafeFile &&other) noexcept;
    SafeFile(const SafeFile &) = delete;
    SafeFile &operator=(const SafeFile &) = delete;
    ~SafeFile() { close(); }

    bool isOpen() const { return m_handle != kNone; }
    Native native() const { return m_handle; }
    /// Gives the handle away; the caller closes it.
    Native release();

    /// Reads up to @p size bytes at @p offset; @p got is less than asked for only at the end of the file.
    FileResult readAt(std::uint64_t offset, void *data, std::size_t size, std::size_t &got) const;
    /// Writes all @p size bytes at @p offset, or says why not.
    FileResult writeAt(std::uint64_t offset, const void *data, std::size_t size);
    FileResult truncate(std::uint64_t size);
    FileResult stat(FileStat &stat) const;
    FileResult setModified(std::int64_t modifiedNs);
    /// Returns once the bytes are on the disk.
    FileResult sync();
    /// Writes errors that the system kept back until now come out here.
    FileResult close();

private:
    Native m_handle = kNone;
};

/// One folder and everything beneath it. Every path given is relative to it ('/' between names, UTF-8, "" the folder
/// itself) and is resolved name by name without following any link, so that whatever other people put into the tree,
/// and whenever they do, nothing outside it is reached. Copies share one handle; all calls may run on any thread.
class SafeFolder
{
public:
    struct WriteMode
    {
        bool create = true;     ///< Otherwise a missing file is NotFound.
        bool exclusive = false; ///< With create: an existing file is Exists.
        bool truncate = false;  ///< Empties an existing file.
    };
    struct Entry
    {
        std::string name; ///< As on the disk; not always well-formed UTF-8.
        FileStat stat;
    };

    SafeFolder() = default;
    /// Opens the folder at @p path, a path of this machine that is trusted and may hold links.
    static FileResult open(const std::string &path, SafeFolder &folder);
    bool isOpen() const { return m_handle != nullptr; }

    /// A handle of its own on a folder beneath; works on when that folder is moved.
    FileResult openFolder(const std::string &path, SafeFolder &folder) const;
    FileResult stat(const std::string &path, FileStat &stat) const;
    /// Denied for what is not a plain file.
    FileResult openRead(const std::string &path, SafeFile &file) const;
    /// For reading and writing.
    FileResult openWrite(const std::string &path, WriteMode mode, SafeFile &file) const;
    /// Exists when anything of that name exists.
    FileResult mkdir(const std::string &path) const;
    /// Makes what is missing of the path; a folder that exists is no error.
    FileResult mkdirs(const std::string &path) const;
    /// Moves a file or folder. With @p replace an existing file, or an empty folder by a folder, is replaced in one
    /// step; without, what exists stays and the answer is Exists.
    FileResult rename(const std::string &from, const std::string &to, bool replace) const;
    /// As rename(), from one folder into another of the same volume; Other with EXDEV or its like between volumes.
    static FileResult renameBetween(const SafeFolder &source, const std::string &from, const SafeFolder &target,
                                    const std::string &to, bool replace);
    /// Removes a file or the link itself.
    FileResult removeFile(const std::string &path) const;
    FileResult removeEmptyFolder(const std::string &path) const;
    /// Removes a file, or a folder with everything in it; goes on after a failure and answers with the first one.
    /// NotFound when there was nothing. @p stop, when given, is asked between entries.
    FileResult removeTree(const std::string &path, const std::function<bool()> &stop = nullptr) const;
    /// Calls @p visit for each entry in no order, "." and ".." left out, until it returns false. With @p withStat
    /// false only the type is filled in, as far as the system tells it for nothing.
    FileResult list(const std::string &path, const std::function<bool(const Entry &)> &visit,
                    bool withStat = true) const;
    FileResult setModified(const std::string &path, std::int64_t modifiedNs) const;
    /// Returns once the names in the folder are on the disk.
    FileResult syncFolder(const std::string &path) const;
    /// Bytes that may still be written on the volume of the folder.
    FileResult freeSpace(std::uint64_t &bytes) const;

    struct Handle;

private:
    FileResult removeContents(const std::function<bool()> &stop, unsigned depth) const;

    std::shared_ptr<const Handle> m_handle;
};

} // namespace zpdt
