#include "pallbus/recorder.h"

#include <utility>

#include <asio/post.hpp>

namespace pallbus {

Recorder::Recorder(asio::io_context& io, Report report) : io_(io), report_(std::move(report)) {}

Recorder::~Recorder() {
    if (const auto failure = writer_ ? writer_->finish() : std::nullopt) {
        report_(*failure);
    }
}

void Recorder::start(std::unique_ptr<recording::Writer> writer, const std::string& path) {
    writer_ = std::move(writer);
    path_ = path;
}

void Recorder::stop(Stopped stopped) {
    const auto stopping = stopping_.insert(stopping_.end(), std::move(writer_));
    const auto release = [this, stopping, stopped = std::move(stopped)] {
        const std::optional<std::string> failure = (*stopping)->finish();
        stopping_.erase(stopping);
        stopped(failure);
    };
    (*stopping)->end([this, release] { asio::post(io_, release); });
}

void Recorder::record(int32_t from, std::string_view payload) {
    if (!writer_) {
        return;
    }
    writer_->record(from, payload);
    if (const auto failure = writer_->failure()) {
        report_(*failure + "; going on without recording");
        stop([](const auto&) {});
    }
}

}  // namespace pallbus
