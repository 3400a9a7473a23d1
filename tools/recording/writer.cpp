#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

#include "recording/lines.h"
#include "recording/recording.h"

namespace recording {

namespace {

constexpr std::chrono::seconds kPeriod{1};
// So much is not kept back until the second is over.
constexpr size_t kBatchBytes = size_t{1024} * 1024;

std::string systemText(int error) {
    return std::generic_category().message(error);
}

UniqueFile opened(const std::string& path) {
    UniqueFile file = openFile(path, "w");
    if (!file) {
        throw std::runtime_error(path + ": " + systemText(errno));
    }
    // Lines are collected here, not twice.
    std::setvbuf(file.get(), nullptr, _IONBF, 0);
    return file;
}

}  // namespace

Writer::Writer(const std::string& path, std::string by)
    : path_(path), start_(std::chrono::steady_clock::now()), file_(opened(path)) {
    const auto start =
        std::chrono::floor<std::chrono::microseconds>(std::chrono::system_clock::now());
    writeBatch(lineOf(Header{start, std::move(by)}) + "\n");
    if (failure_) {
        throw std::runtime_error(*failure_);
    }
    thread_ = std::thread([this] { writeOut(); });
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
        add(lineOf(entry) + "\n");
    }
}

void Writer::add(const std::string& line) {
    const std::lock_guard lock(mutex_);
    if (finishing_ || failure_) {
        return;
    }
    if (waiting_.size() + line.size() > kMostWaitingBytes) {
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
}

void Writer::writeBatch(const std::string& batch) {
    if (batch.empty() || failure()) {
        return;
    }
    if (std::fwrite(batch.data(), 1, batch.size(), file_.get()) != batch.size()) {
        fail(systemText(errno));
        return;
    }
    // So that a power cut costs no more than what came since. What has no disk has nothing to do.
    if (fdatasync(fileno(file_.get())) != 0 && errno != EINVAL && errno != EROFS) {
        fail(systemText(errno));
    }
}

void Writer::fail(const std::string& reason) {
    const std::lock_guard lock(mutex_);
    failure_ = path_ + ": " + reason;
    waiting_.clear();
}

}  // namespace recording
