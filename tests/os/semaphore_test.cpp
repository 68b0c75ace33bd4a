// Named semaphores and critical sections.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <semaphore.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <utility>

#include "os/interrupting_signal.h"
#include "zpport/OSLayer.h"

namespace {

using Clock = std::chrono::steady_clock;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

const std::string kShmDirectory = "/dev/shm";
const std::string kSemPrefix = "sem.";

double SecondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

std::string TestName(const std::string& suffix) {
    return "zp_semtest_" + std::to_string(getpid()) + "_" + suffix;
}

// The inode of the file the handle is mapped from, found by its address in /proc/self/maps.
ino_t MappedInode(const void* handle) {
    std::ifstream maps("/proc/self/maps");
    std::string line;
    while (std::getline(maps, line)) {
        std::istringstream fields(line);
        std::string range, perms, offset, device;
        ino_t inode = 0;
        fields >> range >> perms >> offset >> device >> inode;
        const uintptr_t start = std::stoull(range.substr(0, range.find('-')), nullptr, 16);
        if (start == reinterpret_cast<uintptr_t>(handle)) return inode;
    }
    return 0;
}

// The name ("/name") of the semaphore behind a handle: the /dev/shm entry "sem.<prefix>..." that holds
// the mapped file. Empty when there is none.
std::string NameOf(const void* handle, const std::string& prefix) {
    const ino_t inode = MappedInode(handle);
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(kShmDirectory, error)) {
        const std::string file = entry.path().filename().string();
        struct stat status {};
        if (file.rfind(kSemPrefix + prefix, 0) == 0 && stat(entry.path().c_str(), &status) == 0 &&
            status.st_ino == inode) {
            return "/" + file.substr(kSemPrefix.size());
        }
    }
    return "";
}

// Removes a semaphore name made by a test, whatever the test's outcome.
class NameUnlinker {
public:
    explicit NameUnlinker(std::string name) : name_(std::move(name)) {}
    ~NameUnlinker() {
        if (!name_.empty()) sem_unlink(name_.c_str());
    }
    NameUnlinker(const NameUnlinker&) = delete;
    NameUnlinker& operator=(const NameUnlinker&) = delete;

private:
    std::string name_;
};

int ValueOf(sem_t* semaphore) {
    int value = -1;
    sem_getvalue(semaphore, &value);
    return value;
}

TEST(SemaphoreCreateTest, GeneratedNamesDifferAndAreSignedDecimals) {
    OS_SEMAPHORE first = OS_SemCreate(3, nullptr);
    OS_SEMAPHORE second = OS_SemCreate(1, nullptr);
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    const std::string firstName = NameOf(first, "KAVSEM_");
    const std::string secondName = NameOf(second, "KAVSEM_");
    NameUnlinker firstUnlinker(firstName);
    NameUnlinker secondUnlinker(secondName);
    EXPECT_NE(firstName, secondName);
    for (const std::string& name : {firstName, secondName}) {
        const std::string prefix = "/KAVSEM_";
        ASSERT_EQ(name.rfind(prefix, 0), 0u) << name;
        const std::string number = name.substr(prefix.size());
        const long long value = std::stoll(number);
        EXPECT_EQ(std::to_string(value), number);
        EXPECT_GE(value, INT32_MIN);
        EXPECT_LE(value, INT32_MAX);
        struct stat status {};
        ASSERT_EQ(stat((kShmDirectory + "/" + kSemPrefix + name.substr(1)).c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777, 0600u);
    }
    EXPECT_EQ(ValueOf(static_cast<sem_t*>(first)), 3);
    EXPECT_EQ(OS_SemDestroy(first), OS_OK);
    EXPECT_EQ(OS_SemDestroy(second), OS_OK);
}

TEST(SemaphoreCreateTest, PlainNameOpensTheSlashedName) {
    const std::string name = TestName("plain");
    NameUnlinker unlinker("/" + name);
    OS_SEMAPHORE handle = OS_SemCreate(2, name.c_str());
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(NameOf(handle, "zp_semtest_"), "/" + name);
    sem_t* other = sem_open(("/" + name).c_str(), 0);
    ASSERT_NE(other, SEM_FAILED);
    EXPECT_EQ(ValueOf(other), 2);
    EXPECT_EQ(OS_SemWait(handle, 0), OS_OK);
    EXPECT_EQ(ValueOf(other), 1);
    sem_post(other);
    EXPECT_EQ(OS_SemWait(handle, 0), OS_OK);
    EXPECT_EQ(OS_SemWait(handle, 0), OS_OK);
    EXPECT_EQ(OS_SemWait(handle, 0), OS_ERR_TIMEOUT);
    sem_close(other);
    EXPECT_EQ(OS_SemDestroy(handle), OS_OK);
}

TEST(SemaphoreCreateTest, SlashedNameIsUsedAsGiven) {
    const std::string name = "/" + TestName("slashed");
    NameUnlinker unlinker(name);
    OS_SEMAPHORE handle = OS_SemCreate(0, name.c_str());
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(NameOf(handle, "zp_semtest_"), name);
    EXPECT_EQ(OS_SemDestroy(handle), OS_OK);
}

// One character less than the refused name still fits the name buffer; the system then refuses it.
TEST(SemaphoreCreateTest, PlainNameTooLongToPrefixIsRefused) {
    const std::pair<std::size_t, const char*> rows[] = {
        {4095, "Semaphore name is not normalized and too long\nError creating semaphore: Invalid argument\n"},
        {4094, "Error creating semaphore: Invalid argument\n"}};
    for (const auto& row : rows) {
        CaptureStderr();
        OS_SEMAPHORE handle = OS_SemCreate(1, std::string(row.first, 'a').c_str());
        EXPECT_EQ(GetCapturedStderr(), row.second) << row.first;
        EXPECT_EQ(handle, nullptr) << row.first;
    }
}

TEST(SemaphoreNullHandleTest, EveryCallSucceedsSilently) {
    CaptureStderr();
    EXPECT_EQ(OS_SemWait(nullptr, 0), OS_OK);
    EXPECT_EQ(OS_SemWait(nullptr, OS_INFINITE), OS_OK);
    EXPECT_EQ(OS_SemRelease(nullptr), OS_OK);
    EXPECT_EQ(OS_SemDestroy(nullptr), OS_OK);
    EXPECT_EQ(GetCapturedStderr(), "");
}

class SemaphoreWaitTest : public testing::Test {
protected:
    void SetUp() override {
        sem_unlink(name_.c_str());  // a leftover of an aborted run would carry a count
        handle_ = OS_SemCreate(0, name_.c_str());
        ASSERT_NE(handle_, nullptr);
    }
    void TearDown() override { EXPECT_EQ(OS_SemDestroy(handle_), OS_OK); }

    std::string name_ = "/" + TestName("wait");
    NameUnlinker unlinker_{name_};
    OS_SEMAPHORE handle_ = nullptr;
};

TEST_F(SemaphoreWaitTest, ReleasedUnitIsTakenOnce) {
    EXPECT_EQ(OS_SemWait(handle_, 0), OS_ERR_TIMEOUT);
    EXPECT_EQ(OS_SemRelease(handle_), OS_OK);
    EXPECT_EQ(OS_SemWait(handle_, OS_INFINITE), OS_OK);
    EXPECT_EQ(OS_SemWait(handle_, 0), OS_ERR_TIMEOUT);
    EXPECT_EQ(OS_SemRelease(handle_), OS_OK);
    EXPECT_EQ(OS_SemWait(handle_, 0), OS_OK);
}

TEST_F(SemaphoreWaitTest, TimedWaitOnEmptySemaphoreTimesOut) {
    const auto start = Clock::now();
    EXPECT_EQ(OS_SemWait(handle_, 999), OS_ERR_TIMEOUT);
    EXPECT_GE(SecondsSince(start), 0.95);
}

TEST_F(SemaphoreWaitTest, TimedWaitKeepsItsDeadlineThroughASignal) {
    const auto wait = zptest::RunInterrupted([this] { return OS_SemWait(handle_, 1999); }, 300);
    EXPECT_TRUE(wait.signalCaught);
    EXPECT_EQ(wait.result, OS_ERR_TIMEOUT);
    EXPECT_GE(wait.seconds, 1.95);
}

TEST_F(SemaphoreWaitTest, UnlimitedWaitEndsOnRelease) {
    std::atomic<int> result{-1};
    const auto start = Clock::now();
    std::thread waiter([&] { result.store(OS_SemWait(handle_, OS_INFINITE)); });
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    EXPECT_EQ(result.load(), -1);
    EXPECT_EQ(OS_SemRelease(handle_), OS_OK);
    waiter.join();
    EXPECT_EQ(result.load(), OS_OK);
    EXPECT_GE(SecondsSince(start), 0.15);
}

TEST(CriticalSectionTest, LocksExcludeEachOther) {
    OS_CRITICAL_SECTION section;
    ASSERT_EQ(OS_InitializeCriticalSection(&section), 0);
    long counter = 0;
    std::atomic<int> failures{0};
    auto work = [&] {
        for (int i = 0; i < 20000; ++i) {
            failures += OS_EnterCriticalSection(&section) != 0;
            ++counter;
            failures += OS_LeaveCriticalSection(&section) != 0;
        }
    };
    std::thread other(work);
    work();
    other.join();
    EXPECT_EQ(failures.load(), 0);
    EXPECT_EQ(counter, 40000);
    EXPECT_EQ(OS_DeleteCriticalSection(&section), 0);
}

}  // namespace
