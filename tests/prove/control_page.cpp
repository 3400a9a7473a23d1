#include "control_page.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>

#include "pallframe/simulation/system_call.h"

namespace prove {

using pallframe::simulation::check;

ControlPage::ControlPage(const std::string& path) : path_(path) {
    const pallframe::simulation::Descriptor file(
        check(::open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600), path));
    check(::ftruncate(file.get(), sizeof(Control)), path);
    void* const page =
        ::mmap(nullptr, sizeof(Control), PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
    if (page == MAP_FAILED) {
        pallframe::simulation::fail(path);
    }
    control_ = static_cast<Control*>(page);
}

ControlPage::~ControlPage() {
    ::munmap(control_, sizeof(Control));
}

void ControlPage::arm(const Fault& fault) {
    control_->failCall = fault.call;
    control_->error = fault.failure;
    control_->failsOnwards = fault.onwards;
    control_->failAllocation = fault.allocation;
    control_->calls = 0;
    control_->allocations = 0;
    control_->given = 0;
    control_->bytesUsed = 0;
    control_->countsAllocations = true;
    control_->selector = 1;
}

void ControlPage::disarm() {
    control_->selector = 0;
    control_->countsAllocations = false;
}

std::vector<Call> ControlPage::calls() const {
    return {control_->log, control_->log + std::min<uint32_t>(control_->calls, kMostCalls)};
}

std::string ControlPage::bytesOf(const Call& call) const {
    return {control_->bytes + call.bytesAt, call.byteCount};
}

void ControlPage::refuseThreadsFor(int64_t milliseconds) {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    control_->noThreadsUntil =
        std::chrono::duration_cast<std::chrono::milliseconds>(now).count() + milliseconds;
}

}  // namespace prove
