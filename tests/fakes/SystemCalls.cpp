// The tool's system calls. The linker replaces them by these (--wrap, see CMakeLists.txt). Calls on
// other files than the tool's are passed on to the system and not recorded.
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdint>
#include <cstdio>

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/types.h>

#include "Errno.h"
#include "FakePlatform.h"
#include "Show.h"

// NOLINTBEGIN(bugprone-reserved-identifier): the linker prescribes these names.
extern "C" {

int __real_open(char const* path, int flags, ...);
int __real_open64(char const* path, int flags, ...);
ssize_t __real_read(int descriptor, void* buffer, size_t count);
ssize_t __real_write(int descriptor, void const* buffer, size_t count);
int __real_close(int descriptor);
int __real_fstat(int descriptor, struct stat* status);
int __real_fstat64(int descriptor, struct stat* status);
std::FILE* __real_popen(char const* command, char const* mode);
char* __real_fgets(char* line, int size, std::FILE* file);
int __real_pclose(std::FILE* file);
void (*__real_signal(int number, void (*handler)(int)))(int);
void __real_exit(int status) __attribute__((noreturn));
pid_t __real_getpid();
int __real_kill(pid_t process, int number);
int __real_pthread_create(pthread_t* thread, pthread_attr_t const* attributes, void* (*body)(void*),
                          void* argument);
int __real_pthread_join(pthread_t thread, void** result);
}

namespace {

// The platform when there is one and the descriptor is the tool's; its name.
struct ToolDescriptor {
    explicit ToolDescriptor(int descriptor)
        : platform(FakePlatform::Current())
        , name(platform == nullptr ? std::nullopt : platform->NameOf(descriptor)) {}

    explicit operator bool() const { return name.has_value(); }

    FakePlatform* platform;
    std::optional<std::string> name;
};

// Sets errno to the meaningless value after a success.
template <typename Result>
Result Done(Result result) {
    if (result != -1) {
        errno = meaninglessErrno;
    }
    return result;
}

// Passes on the result of a call on a descriptor. One that is not open is a breach.
template <typename Result>
Result ExpectOpen(Result result, char const* verb) {
    if (result == -1 && errno == EBADF && FakePlatform::Current() != nullptr) {
        FakePlatform::Current()->Breach("something is " + std::string(verb) + " that is not open");
    }
    return result;
}

std::string ShowFlags(int flags) {
    std::string shown = (flags & O_ACCMODE) == O_WRONLY ? "O_WRONLY"
                        : (flags & O_ACCMODE) == O_RDWR ? "O_RDWR"
                                                        : "O_RDONLY";
    if ((flags & O_CREAT) != 0) {
        shown += "|O_CREAT";
    }
    if ((flags & O_TRUNC) != 0) {
        shown += "|O_TRUNC";
    }
    if ((flags & O_APPEND) != 0) {
        shown += "|O_APPEND";
    }
    return shown;
}

std::string ShowMode(mode_t mode) {
    char shown[16];
    (void)std::snprintf(shown, sizeof shown, "0%o", static_cast<unsigned int>(mode));
    return shown;
}

template <typename RealOpen>
int Open(RealOpen* realOpen, char const* path, int flags, mode_t mode) {
    FakePlatform* const platform = FakePlatform::Current();
    if (platform == nullptr || !platform->IsToolPath(path)) {
        return realOpen(path, flags, mode);
    }
    std::string const arguments = Show(platform->ShortName(path)) + ", " + ShowFlags(flags) +
                                  ((flags & O_CREAT) != 0 ? ", " + ShowMode(mode) : "");
    if (auto const answer = platform->Enter("", "open", arguments)) {
        return static_cast<int>(answer->value);
    }
    int const descriptor = realOpen(platform->RealPath(path).c_str(), flags, mode);
    if (descriptor != -1) {
        platform->Opened(descriptor, path);
    }
    return Done(descriptor);
}

template <typename RealFstat>
int Fstat(RealFstat* realFstat, int descriptor, struct stat* status) {
    ToolDescriptor const tool(descriptor);
    if (!tool) {
        return ExpectOpen(realFstat(descriptor, status), "examined");
    }
    auto const answer = tool.platform->Enter("", "fstat", *tool.name);
    if (answer && answer->value < 0) {
        return -1;
    }
    int const result = realFstat(descriptor, status);
    if (answer) {
        status->st_size = static_cast<off_t>(answer->value);
    }
    return Done(result);
}

// The arguments have been started by the caller.
mode_t TakeMode(int flags, va_list arguments) {
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized)
    return (flags & O_CREAT) != 0 ? static_cast<mode_t>(va_arg(arguments, unsigned int)) : 0;
}

// The number that travels as a thread's start argument.
int StartNumber(void* argument) {
    return static_cast<int>(reinterpret_cast<std::intptr_t>(argument));
}

} // namespace

extern "C" {

int __wrap_open(char const* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    mode_t const mode = TakeMode(flags, arguments);
    va_end(arguments);
    return Open(&__real_open, path, flags, mode);
}

int __wrap_open64(char const* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    mode_t const mode = TakeMode(flags, arguments);
    va_end(arguments);
    return Open(&__real_open64, path, flags, mode);
}

ssize_t __wrap_read(int descriptor, void* buffer, size_t count) {
    ToolDescriptor const tool(descriptor);
    if (!tool) {
        return ExpectOpen(__real_read(descriptor, buffer, count), "read");
    }
    auto const answer = tool.platform->Enter("", "read", *tool.name + ", " + Show(count));
    if (answer && answer->value < 0) {
        return -1;
    }
    return Done(
        __real_read(descriptor, buffer, answer ? static_cast<size_t>(answer->value) : count));
}

ssize_t __wrap_write(int descriptor, void const* buffer, size_t count) {
    ToolDescriptor const tool(descriptor);
    if (!tool) {
        return ExpectOpen(__real_write(descriptor, buffer, count), "written");
    }
    auto const answer = tool.platform->Enter("", "write", *tool.name + ", " + Show(count));
    if (answer && answer->value < 0) {
        return -1;
    }
    return Done(
        __real_write(descriptor, buffer, answer ? static_cast<size_t>(answer->value) : count));
}

int __wrap_close(int descriptor) {
    ToolDescriptor const tool(descriptor);
    if (tool) {
        tool.platform->Enter("", "close", *tool.name);
        tool.platform->Closed(descriptor);
    }
    int const result = ExpectOpen(__real_close(descriptor), "closed");
    return tool ? Done(result) : result;
}

int __wrap_fstat(int descriptor, struct stat* status) {
    return Fstat(&__real_fstat, descriptor, status);
}

int __wrap_fstat64(int descriptor, struct stat* status) {
    return Fstat(&__real_fstat64, descriptor, status);
}

// The command is not run: its output is what the test scripts.
std::FILE* __wrap_popen(char const* command, char const* mode) {
    FakePlatform* const platform = FakePlatform::Current();
    if (platform == nullptr) {
        return __real_popen(command, mode);
    }
    if (platform->Enter("", "popen", ShowAll(command, mode))) {
        return nullptr;
    }
    std::string& output = platform->pidofOutput;
    std::FILE* const pipe =
        output.empty() ? fopen("/dev/null", "r") : fmemopen(output.data(), output.size(), "r");
    platform->pipes.insert(pipe);
    return pipe;
}

char* __wrap_fgets(char* line, int size, std::FILE* file) {
    FakePlatform* const platform = FakePlatform::Current();
    if (platform != nullptr && platform->pipes.count(file) != 0 &&
        platform->Enter("", "fgets", Show(size))) {
        return nullptr;
    }
    return __real_fgets(line, size, file);
}

int __wrap_pclose(std::FILE* file) {
    FakePlatform* const platform = FakePlatform::Current();
    if (platform == nullptr || platform->pipes.erase(file) == 0) {
        return __real_pclose(file);
    }
    platform->Enter("", "pclose", "");
    return std::fclose(file);
}

void (*__wrap_signal(int number, void (*handler)(int)))(int) {
    FakePlatform* const platform = FakePlatform::Current();
    if (platform == nullptr) {
        return __real_signal(number, handler);
    }
    platform->Note("signal(" + Show(number) + ")");
    auto* const previous = platform->signalHandlers[number];
    platform->signalHandlers[number] = handler;
    return previous;
}

void __wrap_exit(int status) {
    if (FakePlatform::Current() != nullptr) {
        FakePlatform::Current()->Exit(status);
    }
    __real_exit(status);
}

pid_t __wrap_getpid() {
    FakePlatform* const platform = FakePlatform::Current();
    return platform == nullptr ? __real_getpid() : platform->processId;
}

int __wrap_kill(pid_t process, int number) {
    FakePlatform* const platform = FakePlatform::Current();
    if (platform == nullptr) {
        return __real_kill(process, number);
    }
    if (auto const answer = platform->Enter("", "kill", ShowAll(process, number))) {
        return static_cast<int>(answer->value);
    }
    if (platform->liveProcesses.count(process) != 0) {
        return 0;
    }
    errno = ESRCH;
    return -1;
}

int __wrap_pthread_create(pthread_t* thread, pthread_attr_t const* attributes, void* (*body)(void*),
                          void* argument) {
    FakePlatform* const platform = FakePlatform::Current();
    if (platform == nullptr) {
        return __real_pthread_create(thread, attributes, body, argument);
    }
    int const number = StartNumber(argument);
    auto const answer =
        platform->Enter("", "pthread_create",
                        (attributes == nullptr ? "default, " : "attributes, ") + Show(number));
    if (answer) {
        return static_cast<int>(answer->value);
    }
    int result = 0;
    if (platform->threads == Threads::Real) {
        result = __real_pthread_create(thread, attributes, body, argument);
    } else {
        *thread = ++platform->lastThread;
        body(argument);
    }
    platform->notJoined[*thread] = number;
    return result;
}

int __wrap_pthread_join(pthread_t thread, void** result) {
    FakePlatform* const platform = FakePlatform::Current();
    if (platform == nullptr) {
        return __real_pthread_join(thread, result);
    }
    auto const started = platform->notJoined.extract(thread);
    if (!started) {
        platform->Breach("a thread is joined that is not there");
        return ESRCH;
    }
    platform->Note("pthread_join(" + Show(started.mapped()) + ")");
    return platform->threads == Threads::Real ? __real_pthread_join(thread, result) : 0;
}
}
// NOLINTEND(bugprone-reserved-identifier)
