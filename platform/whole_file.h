// Files and standard streams that are read and written as a whole.
//
// A path is what the caller's command line held: on POSIX its bytes, on Windows UTF-8. No
// function here uses the C library's streams. None throws, except std::bad_alloc.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>

// Reads a file, or standard input when `path` is empty, to its end into `content`. More
// than `limit` bytes are an error (file_too_large). The bytes come as they are, on
// Windows too. After an error `content` holds what was read. They may be secret: no copy
// of them stays anywhere else, for which `content` has room for `limit` from the start.
std::error_code readWhole(const std::string& path, std::size_t limit,
                          std::string& content);

// Puts a file with this content at `path`, or changes nothing. The content is written
// aside in the same folder and then takes the name, in one step: another process sees the
// file that was there before or the whole new one. The new file can only be read and
// written by its owner, whatever the old one allowed. Where a symbolic link leads to a
// file, that file is replaced; on Windows the link itself, where the file system cannot
// name the file. When the process is killed on the way, nothing is left behind, with a
// few exceptions that stay aside as .norvctl-NUMBER:
//  - on Linux a whole file, between the last two calls of the system, where a file is
//    replaced;
//  - on Windows, whether or not a file is replaced, an empty file between the first two
//    calls and a whole one between the last three;
//  - a part of a file, on a file system that has no files without a name (NFS, FUSE) or,
//    on Windows, that cannot remove a file when it is closed.
//
// Where something else than a file stands at `path`, that is an error; on Windows also
// where the file is read-only or somebody has it open.
std::error_code writeWhole(const std::string& path, std::string_view content);

// Whether writeWhole can be expected to succeed: whether a file can be made aside, and
// whether one that is there may be replaced. Changes nothing. On Windows nobody else can
// open a file that is there, for a moment of the call.
std::error_code tryToWrite(const std::string& path);

// A device or a pipe that is open for writing. Its reader sees the end when the owner
// goes.
struct Device;
struct CloseDevice {
    void operator()(Device* device) const;
};
using OpenDevice = std::unique_ptr<Device, CloseDevice>;

// Opens what stands at `path`, where it is a device or a pipe; else `device` becomes
// null, without an error. A pipe without a reader is an error.
std::error_code openDevice(const std::string& path, OpenDevice& device);

// Writes all bytes, as they are, and waits as long as it takes.
std::error_code writeDevice(Device& device, std::string_view bytes);

// The same to standard output.
std::error_code writeStandardOutput(std::string_view bytes);

// Whether standard output can be written at all: whether it is open. Writes nothing.
std::error_code tryStandardOutput();
