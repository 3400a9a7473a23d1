#include "recorder.h"

#include <utility>

#include <asio/post.hpp>

namespace pallbus {

Recorder::Recorder(asio::io_context& io, Complain complain)
    : io_(io), complain_(std::move(complain)) {}

Recorder::~Recorder() {
    if (const auto failure = writer_ ? writer_->finish() : std::nullopt) {
        complain_(*failure);
    }
}

void Recorder::begin(std::unique_ptr<recording::Writer> writer, const std::string& path) {
    writer_ = std::move(writer);
    path_ = path;
}

void Recorder::end(Ended ended) {
    const auto ending = ending_.insert(ending_.end(), std::move(writer_));
    const auto release = [this, ending, ended = std::move(ended)] {
        const std::optional<std::string> failure = (*ending)->finish();
        ending_.erase(ending);
        ended(failure);
    };
    (*ending)->end([this, release] { asio::post(io_, release); });
}

void Recorder::see(int32_t from, std::string_view payload) {
    if (!writer_) {
        return;
    }
    writer_->record(from, payload);
    if (const auto failure = writer_->failure()) {
        complain_(*failure + "; going on without recording");
        end([](const auto&) {});
    }
}

}  // namespace pallbus
