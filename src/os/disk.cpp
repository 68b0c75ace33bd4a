// Disk space of a file system and the lookup of well-known directories.
#include <sys/statfs.h>

#include <cstdlib>
#include <cstring>

#include "zpport/OSLayer.h"

bool CheckDiskSpace(const char* path, uint64_t& total, uint64_t& freeBytes) {
    struct statfs info{};
    if (statfs(path, &info) != 0) return false;
    const uint64_t blockSize = static_cast<uint64_t>(info.f_bsize);
    total = blockSize * static_cast<uint64_t>(info.f_blocks);
    // Counts the blocks reserved for the administrator as free too.
    freeBytes = blockSize * static_cast<uint64_t>(info.f_bfree);
    return true;
}

int OS_GetDiskFreeSpaceEx(const char* /*path*/, uint32_t* totalLow, uint32_t* totalHigh, uint32_t* freeLow,
                          uint32_t* freeHigh) {
    // Always reports the file system of the working directory, whatever path is passed.
    uint64_t total = 0;
    uint64_t freeBytes = 0;
    if (!CheckDiskSpace(".", total, freeBytes)) {
        total = 0;
        freeBytes = 0;
    }
    *totalLow = static_cast<uint32_t>(total);
    *totalHigh = static_cast<uint32_t>(total >> 32);
    *freeLow = static_cast<uint32_t>(freeBytes);
    *freeHigh = static_cast<uint32_t>(freeBytes >> 32);
    return OS_OK;
}

int OS_GetDirectory(int kind, char* buffer, int /*size*/) {
    const char* directory = nullptr;
    switch (kind) {
        case 1:
        case 3: {
            const char* home = std::getenv("HOME");
            directory = home != nullptr ? home : "/home";
            break;
        }
        case 2:
            directory = "/sbin";
            break;
        default:
            return -1;
    }
    // Unbounded: the caller's buffer must hold the whole path.
    std::strcpy(buffer, directory);
    return 0;
}
