#pragma once

#include <QString>

#include <memory>
#include <string>

/// What opens a fetched file outside this program: the platform's associations of types with programs. GUI thread only.
class PreviewBackend
{
public:
    virtual ~PreviewBackend() = default;

    /// There is a program for files of that name's type. Does not look at a file.
    virtual bool isSupported(const std::wstring &fileName) const = 0;
    /// Opens the local file with its program. False when that could not be started.
    virtual bool open(const QString &localPath) const = 0;

    /// The one of this platform.
    static std::unique_ptr<PreviewBackend> create();
};
