// The owner appends lines to waiting_ under the mutex; the thread takes all of them once a second,
// or at kBatchBytes, and writes and syncs them outside the mutex. The first failure is kept, and
// ends the recording.

#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

#include "recording/line_format.h"
#include "recording/recording.h"
#include "util/system_clock.h"

namespace recording {

namespace {

constexpr std::chrono::seconds kPeriod{1};
// As many bytes are written before the second is over.
constexpr size_t kBatchBytes = size_t{1024} * 1024;

std::string formatError(int error) {
    return std::generic_category().message(error);
}

util::UniqueFile openOrThrow(const std::string& path) {
    util::UniqueFile file = util::openFile(path, "w");
    if (!file) {
        throw std::runtime_error(path + ": " + formatError(errno));
    }
    return file;
}

std::string formatFirstLine(std::string by) {
    const auto start = std::chrono::floor<std::chrono::microseconds>(util::readSystemClock());
    return formatLine(Header{start, std::move(by)}) + "\n";
}

// The writer collects lines itself.
void disableBuffering(FILE* file) {
    std::setvbuf(file, nullptr, _IONBF, 0);
}

// A failed write is an error of the call, not a signal.
void blockSignalsOfWriting() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    sigaddset(&signals, SIGXFSZ);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

}  // namespace

Writer::Writer(const std::string& path, std::string by)
    : path_(path), start_(std::chrono::steady_clock::now()), file_(openOrThrow(path)) {
    disableBuffering(file_.get());
    writeBatch(formatFirstLine(std::move(by)));
    if (failure_) {
        throw std::runtime_error(*failure_);
    }
    thread_ = std::thread([this] { writeOut(); });
}

Writer::Writer(util::UniqueFile file, std::string path, std::string by)
    : path_(std::move(path)),
      start_(std::chrono::steady_clock::now()),
      file_(std::move(file)),
      waiting_(formatFirstLine(std::move(by))) {
    disableBuffering(file_.get());
    thread_ = std::thread([this] {
        // A file that cannot be truncated, such as a pipe, is empty.
        if (ftruncate(fileno(file_.get()), 0) != 0 && errno != EINVAL) {
            fail(formatError(errno));
        }
        writeOut();
    });
}

Writer::~Writer() {
    finish();
}

void Writer::record(int32_t from, std::string_view payload) {
    const auto at =
        std::chrono::floor<std::chrono::microseconds>(std::chrono::steady_clock::now() - start_);
    write({at, from, std::string(payload)});
}

void Writer::write(const Entry& entry) {
    if (!failure()) {
        add(formatLine(entry) + "\n");
    }
}

void Writer::add(const std::string& line) {
    const std::lock_guard lock(mutex_);
    if (finishing_ || failure_) {
        return;
    }
    if (waiting_.size() + line.size() > kMaxWaitingBytes) {
        failure_ = path_ + ": the disk is too slow";
        return;
    }
    waiting_ += line;
    if (waiting_.size() >= kBatchBytes) {
        changed_.notify_one();
    }
}

std::optional<std::string> Writer::failure() const {
    const std::lock_guard lock(mutex_);
    return failure_;
}

void Writer::end(std::function<void()> ended) {
    {
        const std::lock_guard lock(mutex_);
        finishing_ = true;
        ended_ = std::move(ended);
    }
    changed_.notify_one();
}

std::optional<std::string> Writer::finish() {
    {
        const std::lock_guard lock(mutex_);
        finishing_ = true;
    }
    changed_.notify_one();
    if (thread_.joinable()) {
        thread_.join();
    }
    return failure();
}

void Writer::writeOut() {
    blockSignalsOfWriting();
    bool finishing = false;
    while (!finishing) {
        std::string batch;
        {
            std::unique_lock lock(mutex_);
            changed_.wait_for(lock, kPeriod,
                              [this] { return finishing_ || waiting_.size() >= kBatchBytes; });
            batch.swap(waiting_);
            finishing = finishing_;
        }
        writeBatch(batch);
    }
    if (ended_) {  // set with finishing_, which was the last to be set
        ended_();
    }
}

void Writer::writeBatch(const std::string& batch) {
    if (batch.empty() || failure()) {
        return;
    }
    if (std::fwrite(batch.data(), 1, batch.size(), file_.get()) != batch.size()) {
        fail(formatError(errno));
        return;
    }
    // A power cut then loses only later lines. Files without a disk cannot be synced.
    if (fdatasync(fileno(file_.get())) != 0 && errno != EINVAL && errno != EROFS) {
        fail(formatError(errno));
    }
}

void Writer::fail(const std::string& reason) {
    const std::lock_guard lock(mutex_);
    failure_ = path_ + ": " + reason;
    waiting_.clear();
}

}  // namespace recording
