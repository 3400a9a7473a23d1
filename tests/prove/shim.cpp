// Preloaded into the daemon by the proof. Counts what the main thread asks of the kernel for files
// in one directory, and its allocations, and makes the n-th of them fail.
//
// The kernel hands over each system call of the main thread while the control page is armed
// (PR_SET_SYSCALL_USER_DISPATCH): whatever the C library does inside is seen, and neither children
// nor other threads are concerned. The calls of this library itself go through the gate, a range of
// instructions that the kernel lets pass.

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <time.h>
#include <ucontext.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "control.h"

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* old, size_t size);
void* __libc_memalign(size_t alignment, size_t size);

long prove_gate_call(long number, long a, long b, long c, long d, long e, long f);
void prove_gate_return();  // ends a signal handler
void prove_gate_leave();   // makes the interrupted call, then goes on at prove_return
void prove_gate_end();
void* prove_return = nullptr;
}

asm(R"(
    .text
    .hidden prove_return
    .globl prove_gate_return, prove_gate_call, prove_gate_leave, prove_gate_end
    .hidden prove_gate_return, prove_gate_call, prove_gate_leave, prove_gate_end
prove_gate_return:
    mov $15, %eax
    syscall
prove_gate_call:
    mov %rdi, %rax
    mov %rsi, %rdi
    mov %rdx, %rsi
    mov %rcx, %rdx
    mov %r8, %r10
    mov %r9, %r8
    mov 8(%rsp), %r9
    syscall
    ret
prove_gate_leave:
    syscall
    jmp *prove_return(%rip)
prove_gate_end:
    nop
)");

namespace {

using prove::Call;
using prove::Control;

constexpr int kMostDescriptors = 256;

Control* control = nullptr;
__thread bool isCounted __attribute__((tls_model("initial-exec"))) = false;
char openPaths[kMostDescriptors][prove::kLongestPath];  // empty where nothing watched is open

// Which arguments of a call say what it concerns; -1 for none.
struct Shape {
    long number;
    int directory, path, otherDirectory, otherPath, descriptor;
};

constexpr Shape kShapes[] = {
    {SYS_open, -1, 0, -1, -1, -1},       {SYS_creat, -1, 0, -1, -1, -1},
    {SYS_stat, -1, 0, -1, -1, -1},       {SYS_lstat, -1, 0, -1, -1, -1},
    {SYS_access, -1, 0, -1, -1, -1},     {SYS_readlink, -1, 0, -1, -1, -1},
    {SYS_mkdir, -1, 0, -1, -1, -1},      {SYS_rmdir, -1, 0, -1, -1, -1},
    {SYS_unlink, -1, 0, -1, -1, -1},     {SYS_chmod, -1, 0, -1, -1, -1},
    {SYS_chown, -1, 0, -1, -1, -1},      {SYS_lchown, -1, 0, -1, -1, -1},
    {SYS_truncate, -1, 0, -1, -1, -1},   {SYS_rename, -1, 0, -1, 1, -1},
    {SYS_link, -1, 0, -1, 1, -1},        {SYS_symlink, -1, 1, -1, -1, -1},
    {SYS_openat, 0, 1, -1, -1, -1},      {SYS_newfstatat, 0, 1, -1, -1, -1},
    {SYS_statx, 0, 1, -1, -1, -1},       {SYS_faccessat, 0, 1, -1, -1, -1},
    {SYS_faccessat2, 0, 1, -1, -1, -1},  {SYS_readlinkat, 0, 1, -1, -1, -1},
    {SYS_mkdirat, 0, 1, -1, -1, -1},     {SYS_unlinkat, 0, 1, -1, -1, -1},
    {SYS_fchmodat, 0, 1, -1, -1, -1},    {SYS_fchownat, 0, 1, -1, -1, -1},
    {SYS_utimensat, 0, 1, -1, -1, -1},   {SYS_renameat, 0, 1, 2, 3, -1},
    {SYS_renameat2, 0, 1, 2, 3, -1},     {SYS_linkat, 0, 1, 2, 3, -1},
    {SYS_symlinkat, 1, 2, -1, -1, -1},   {SYS_read, -1, -1, -1, -1, 0},
    {SYS_pread64, -1, -1, -1, -1, 0},    {SYS_write, -1, -1, -1, -1, 0},
    {SYS_pwrite64, -1, -1, -1, -1, 0},   {SYS_readv, -1, -1, -1, -1, 0},
    {SYS_writev, -1, -1, -1, -1, 0},     {SYS_fsync, -1, -1, -1, -1, 0},
    {SYS_fdatasync, -1, -1, -1, -1, 0},  {SYS_close, -1, -1, -1, -1, 0},
    {SYS_fstat, -1, -1, -1, -1, 0},      {SYS_ftruncate, -1, -1, -1, -1, 0},
    {SYS_fchmod, -1, -1, -1, -1, 0},     {SYS_fchown, -1, -1, -1, -1, 0},
    {SYS_lseek, -1, -1, -1, -1, 0},      {SYS_fallocate, -1, -1, -1, -1, 0},
    {SYS_flock, -1, -1, -1, -1, 0},      {SYS_fcntl, -1, -1, -1, -1, 0},
    {SYS_getdents64, -1, -1, -1, -1, 0}, {SYS_syncfs, -1, -1, -1, -1, 0},
    {SYS_fstatfs, -1, -1, -1, -1, 0},    {SYS_fadvise64, -1, -1, -1, -1, 0},
    {SYS_fsetxattr, -1, -1, -1, -1, 0},  {SYS_fgetxattr, -1, -1, -1, -1, 0},
    {SYS_ioctl, -1, -1, -1, -1, 0},
};

// A call on its way to the kernel.
struct Request {
    long number;
    long arguments[6];

    long pass() const {
        const long* const a = arguments;
        return prove_gate_call(number, a[0], a[1], a[2], a[3], a[4], a[5]);
    }
};

const Shape* shapeOf(long number) {
    for (const Shape& shape : kShapes) {
        if (shape.number == number) {
            return &shape;
        }
    }
    return nullptr;
}

bool isWatchedPath(const char* path) {
    const size_t length = std::strlen(prove::kWatched);
    return std::strncmp(path, prove::kWatched, length) == 0 &&
           (path[length] == '\0' || path[length] == '/');
}

const char* openPath(long descriptor) {
    return descriptor >= 0 && descriptor < kMostDescriptors ? openPaths[descriptor] : "";
}

void copyPath(char* to, const char* from) {
    std::strncpy(to, from, prove::kLongestPath - 1);
}

// The path in two arguments as an absolute one; empty when it is not watched.
void watchedPath(const Request& request, int directory, int path, char* to) {
    if (path < 0) {
        return;
    }
    const char* const text = reinterpret_cast<const char*>(request.arguments[path]);
    const char* const base = directory < 0 ? "" : openPath(request.arguments[directory]);
    if (text == nullptr || *text == '\0') {
        copyPath(to, base);
    } else if (isWatchedPath(text)) {
        copyPath(to, text);
    } else if (*text != '/' && *base != '\0') {
        copyPath(to, base);
        std::strncat(to, "/", prove::kLongestPath - std::strlen(to) - 1);
        std::strncat(to, text, prove::kLongestPath - std::strlen(to) - 1);
    }
}

// False when the call concerns nothing that is watched.
bool describe(const Request& request, Call& call) {
    const Shape* const shape = shapeOf(request.number);
    if (shape == nullptr) {
        return false;
    }
    call.number = static_cast<int32_t>(request.number);
    call.descriptor = -1;
    watchedPath(request, shape->directory, shape->path, call.path);
    watchedPath(request, shape->otherDirectory, shape->otherPath, call.target);
    if (shape->descriptor >= 0) {
        const long descriptor = request.arguments[shape->descriptor];
        call.descriptor = static_cast<int32_t>(descriptor);
        copyPath(call.path, openPath(descriptor));
    }
    return call.path[0] != '\0' || call.target[0] != '\0';
}

bool isTransfer(long number) {
    return number == SYS_read || number == SYS_write || number == SYS_pread64 ||
           number == SYS_pwrite64;
}

void killProcess() {
    prove_gate_call(SYS_kill, getpid(), SIGKILL, 0, 0, 0, 0);
}

long fail(Request request) {
    control->given.fetch_add(1);
    if (control->error == prove::kKill) {
        killProcess();
    }
    if (control->error < 0 && isTransfer(request.number)) {
        request.arguments[2] = (request.arguments[2] + 1) / 2;
        const long moved = request.pass();
        if (control->error == prove::kKillTorn) {
            killProcess();
        }
        return moved;
    }
    if (request.number == SYS_close) {
        request.pass();  // however it fails, the descriptor is gone
    }
    return -control->error;
}

// Keeps the bytes of a write and what a descriptor is open on.
void note(const Request& request, Call& call) {
    if (request.number == SYS_write && call.result > 0 &&
        control->bytesUsed + static_cast<uint32_t>(call.result) <= prove::kMostBytes) {
        call.bytesAt = control->bytesUsed;
        call.byteCount = static_cast<uint32_t>(call.result);
        std::memcpy(control->bytes + call.bytesAt,
                    reinterpret_cast<const void*>(request.arguments[1]), call.byteCount);
        control->bytesUsed += call.byteCount;
    }
    const bool opens = request.number == SYS_open || request.number == SYS_openat;
    if (opens && call.result >= 0 && call.result < kMostDescriptors) {
        call.flags = request.arguments[request.number == SYS_open ? 1 : 2];
        call.descriptor = static_cast<int32_t>(call.result);
        copyPath(openPaths[call.result], call.path);
    }
    if (request.number == SYS_close && call.descriptor < kMostDescriptors) {
        openPaths[call.descriptor][0] = '\0';
    }
}

long answer(const Request& request) {
    Call call{};
    if (!describe(request, call)) {
        return request.pass();
    }
    const uint32_t number = control->calls.fetch_add(1) + 1;
    const bool fails =
        number == control->failCall || (control->failsOnwards && number > control->failCall);
    call.result = fails ? fail(request) : request.pass();
    note(request, call);
    if (number <= prove::kMostCalls) {
        control->log[number - 1] = call;
    }
    return call.result;
}

// Done on what the handler returns to, and never hides SIGSYS, which would end the process.
long changeMask(const Request& request, sigset_t& context) {
    uint64_t mask = 0;
    std::memcpy(&mask, &context, sizeof mask);
    if (auto* const old = reinterpret_cast<uint64_t*>(request.arguments[2])) {
        *old = mask;
    }
    if (const auto* const set = reinterpret_cast<const uint64_t*>(request.arguments[1])) {
        switch (request.arguments[0]) {
            case SIG_BLOCK:
                mask |= *set;
                break;
            case SIG_UNBLOCK:
                mask &= ~*set;
                break;
            default:
                mask = *set;
                break;
        }
        mask &= ~(uint64_t{1} << (SIGSYS - 1));
        std::memcpy(&context, &mask, sizeof mask);
    }
    return 0;
}

bool startsProcess(long number) {
    return number == SYS_clone || number == SYS_clone3 || number == SYS_vfork || number == SYS_fork;
}

void handle(int /*signal*/, siginfo_t* /*about*/, void* context) {
    auto& machine = static_cast<ucontext_t*>(context)->uc_mcontext;
    greg_t* const registers = machine.gregs;
    const Request request{registers[REG_RAX],
                          {registers[REG_RDI], registers[REG_RSI], registers[REG_RDX],
                           registers[REG_R10], registers[REG_R8], registers[REG_R9]}};
    if (request.number == SYS_rt_sigreturn) {
        registers[REG_RIP] = reinterpret_cast<greg_t>(&prove_gate_return);
    } else if (startsProcess(request.number)) {
        prove_return = reinterpret_cast<void*>(registers[REG_RIP]);
        registers[REG_RIP] = reinterpret_cast<greg_t>(&prove_gate_leave);
    } else if (request.number == SYS_rt_sigprocmask) {
        registers[REG_RAX] = changeMask(request, static_cast<ucontext_t*>(context)->uc_sigmask);
    } else {
        registers[REG_RAX] = answer(request);
    }
}

// As the kernel has it: the C library's own would put its way back in, which is outside the gate.
struct KernelAction {
    void (*handler)(int, siginfo_t*, void*);
    unsigned long flags;
    void (*restorer)();
    uint64_t mask;
};

void takeOverCalls() {
    constexpr unsigned long kRestorer = 0x04000000;
    const KernelAction action{handle, SA_SIGINFO | SA_NODEFER | kRestorer, prove_gate_return, 0};
    prove_gate_call(SYS_rt_sigaction, SIGSYS, reinterpret_cast<long>(&action), 0, 8, 0, 0);
    const auto begin = reinterpret_cast<unsigned long>(&prove_gate_return);
    const auto end = reinterpret_cast<unsigned long>(&prove_gate_end);
    prctl(PR_SET_SYSCALL_USER_DISPATCH, PR_SYS_DISPATCH_ON, begin, end - begin, &control->selector);
}

bool isDaemon() {
    char path[256] = {};
    return readlink("/proc/self/exe", path, sizeof path - 1) > 0 &&
           std::strstr(path, "/pallwatch") != nullptr;
}

__attribute__((constructor)) void begin() {
    const char* const path = std::getenv(prove::kControlVariable);
    if (path == nullptr || !isDaemon()) {
        return;
    }
    const int file = open(path, O_RDWR | O_CLOEXEC);
    void* const page = mmap(nullptr, sizeof(Control), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    close(file);
    if (page == MAP_FAILED) {
        return;
    }
    unsetenv("LD_PRELOAD");  // not for the daemon's commands
    unsetenv(prove::kControlVariable);
    control = static_cast<Control*>(page);
    isCounted = true;
    takeOverCalls();
}

bool isDenied() {
    if (!isCounted || !control->countsAllocations ||
        control->allocations.fetch_add(1) + 1 != control->failAllocation) {
        return false;
    }
    control->given.fetch_add(1);
    errno = ENOMEM;
    return true;
}

int64_t now() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return int64_t{time.tv_sec} * 1000 + time.tv_nsec / 1000000;
}

}  // namespace

extern "C" {

void* malloc(size_t size) {
    return isDenied() ? nullptr : __libc_malloc(size);
}

void* calloc(size_t count, size_t size) {
    return isDenied() ? nullptr : __libc_calloc(count, size);
}

void* realloc(void* old, size_t size) {
    return isDenied() ? nullptr : __libc_realloc(old, size);
}

void* aligned_alloc(size_t alignment, size_t size) {
    return isDenied() ? nullptr : __libc_memalign(alignment, size);
}

int posix_memalign(void** result, size_t alignment, size_t size) {
    *result = isDenied() ? nullptr : __libc_memalign(alignment, size);
    return *result == nullptr ? ENOMEM : 0;
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*),
                   void* argument) {
    if (control != nullptr && now() < control->noThreadsUntil) {
        return EAGAIN;
    }
    static const auto next =
        reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    return next(thread, attributes, run, argument);
}
}
