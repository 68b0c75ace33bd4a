#include "file_io.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>

#include "exit_codes.h"

namespace zpcam {

namespace {

[[noreturn]] void FileFailure(const std::string& what, const std::string& path) {
    throw ToolError(kExitFile, what + " " + path + ": " + std::strerror(errno));
}

}  // namespace

std::string ReadTextFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) FileFailure("cannot read", path);
    std::ostringstream text;
    text << in.rdbuf();
    if (in.bad()) FileFailure("cannot read", path);
    return text.str();
}

void RequireWritableFolder(const std::string& dir) {
    if (::access(dir.c_str(), W_OK) != 0) FileFailure("cannot write into", dir);
}

void WriteTextFile(const std::string& path, const std::string& text) {
    WriteBinaryFile(path, text.data(), text.size());
}

void WriteBinaryFile(const std::string& path, const void* data, std::size_t size) {
    WriteThroughTemporary(path, [&](const std::string& temporary) {
        std::FILE* file = std::fopen(temporary.c_str(), "wb");
        if (file == nullptr) return false;
        const bool written = std::fwrite(data, 1, size, file) == size;
        return std::fclose(file) == 0 && written;
    });
}

void WriteThroughTemporary(const std::string& path, const std::function<bool(const std::string&)>& write) {
    const std::string temporary = path + ".part" + std::to_string(::getpid());
    errno = 0;
    if (write(temporary) && std::rename(temporary.c_str(), path.c_str()) == 0) return;
    const int reason = errno;
    std::remove(temporary.c_str());
    errno = reason;
    FileFailure("cannot write", path);
}

}  // namespace zpcam
