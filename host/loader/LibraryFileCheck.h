// What keeps a file from being handed to the dynamic loader: the loader blocks on a FIFO, and it
// maps an ELF file's segments into memory, so a file shorter than its headers say (a copy in
// progress, a full disk) dies with SIGBUS on the first touch of a missing page.
#pragma once

#include <string>

namespace VexilHost {

/// Why the file at `path` must not be opened with dlopen, or empty when it may be. Reads the file
/// with plain reads (never maps it) and follows symbolic links. Refused: what cannot be examined
/// ("cannot be read (<system reason>)"), anything but a regular file ("not a regular file (a FIFO)",
/// a directory, a socket, a character device, a block device), and an ELF file of this host's class
/// and byte order whose ELF header, program headers, loadable segments or section headers reach past
/// its end ("truncated ELF file: <size> bytes, <part> up to byte <end>"). Other content
/// is left to the loader, which reads, never maps, what it refuses.
std::string libraryFileProblem(const std::string& path);

} // namespace VexilHost
