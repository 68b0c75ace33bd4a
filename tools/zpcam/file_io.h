// Whole-file reads and writes for the tool; failures become file errors naming the path.
#ifndef ZPCAM_FILE_IO_H
#define ZPCAM_FILE_IO_H

#include <cstddef>
#include <functional>
#include <string>

namespace zpcam {

std::string ReadTextFile(const std::string& path);
// Writes to a temporary name beside the file and renames it when complete, so the file under its
// final name is never half written.
void WriteTextFile(const std::string& path, const std::string& text);
void WriteBinaryFile(const std::string& path, const void* data, std::size_t size);
// Throws a file error unless `dir` is a folder this process may write into.
void RequireWritableFolder(const std::string& dir);
// The same for any writer: `write` fills the temporary file it is given and says whether it succeeded.
void WriteThroughTemporary(const std::string& path, const std::function<bool(const std::string&)>& write);

}  // namespace zpcam

#endif  // ZPCAM_FILE_IO_H
