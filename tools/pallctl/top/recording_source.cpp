#include <stdexcept>
#include <utility>

#include "cli/command.h"
#include "pallctl/top/data_source.h"
#include "pallctl/top/player.h"

namespace pallctl::top {

namespace {

constexpr Moment kSeekStep = std::chrono::seconds(10);

class RecordingSource : public DataSource {
  public:
    RecordingSource(const std::string& path, const std::string& object)
        : DataSource(object),
          place_(showable(path)),
          player_(path, state_),
          notice_(player_.truncation()) {}

    int descriptor() const override { return -1; }
    std::optional<Moment> untilNext() const override { return player_.untilNext(); }
    Moment now() const override { return player_.playing().at; }
    void step(View& view, Moment elapsed) override;
    Status status() const override {
        Status status;
        status.place = place_;
        status.playing = player_.playing();
        status.begin = player_.start();
        return status;
    }
    void carryOut(Request request, View& view) override;

  private:
    const std::string place_;
    Player player_;
    std::optional<std::string> notice_;  // a message for the user about the file
};

void RecordingSource::step(View& view, Moment elapsed) {
    player_.advance(elapsed);
    if (const auto notice = std::exchange(notice_, std::nullopt)) {
        view.say({showable(*notice), Style::bad});
    }
}

void RecordingSource::carryOut(Request request, View& /*view*/) {
    switch (request) {
        case Request::pause:
            return player_.pause();
        case Request::faster:
            return player_.faster();
        case Request::slower:
            return player_.slower();
        case Request::back:
            return player_.seek(-kSeekStep);
        case Request::forward:
            return player_.seek(kSeekStep);
        case Request::begin:
            return player_.seek(-player_.playing().at);
        default:
            return;
    }
}

}  // namespace

std::unique_ptr<DataSource> makeRecordingSource(const std::string& path,
                                                const std::string& object) try {
    return std::make_unique<RecordingSource>(path, object);
} catch (const std::runtime_error& error) {
    throw cli::UsageError(error.what());
}

}  // namespace pallctl::top
