#include "pallbus/broker/control_socket.h"

#include <unistd.h>

#include <cstdio>
#include <future>
#include <thread>

#include <asio/post.hpp>
#include <gtest/gtest.h>

#include "support/temporary_directory.h"

namespace pallbus::broker {
namespace {

// The bus's end in a thread of its own. What it is told is done by `handle_`.
class ControlTest : public testing::Test {
  protected:
    ~ControlTest() override {
        io_.stop();
        loop_.join();
    }

    void handle(const ControlSocket::Handle& handle) {
        std::promise<void> done;
        asio::post(io_, [&] {
            handle_ = handle;
            done.set_value();
        });
        done.get_future().wait();
    }

    // No other test has it, also when several run at once.
    const uint16_t port_ = static_cast<uint16_t>(::getpid());

    asio::io_context io_;

  private:
    ControlSocket::Handle handle_ = [](const ControlRequest& told,
                                       const ControlSocket::Answer& answer) {
        answer({true, "told: " + told.command});
    };
    ControlSocket control_{io_, port_,
                           [this](ControlRequest request, const ControlSocket::Answer& answer) {
                               handle_(std::move(request), answer);
                           }};
    std::thread loop_{[this] { io_.run(); }};
};

std::string formatReply(const std::optional<ControlReply>& reply) {
    return reply ? (reply->ok ? "ok " : "error ") + reply->text : "no bus";
}

TEST_F(ControlTest, CarriesACommandAndItsReply) {
    EXPECT_EQ(formatReply(sendCommand(port_, "one")), "ok told: one");
    const std::string large(1'000'000, 'x');
    EXPECT_EQ(formatReply(sendCommand(port_, large)), "ok told: " + large);
}

TEST_F(ControlTest, RejectsACommandWithoutEnd) {
    EXPECT_EQ(formatReply(sendCommand(port_, std::string(2'000'000, 'x'))), "no bus");
    EXPECT_EQ(formatReply(sendCommand(port_, "two")), "ok told: two") << "the next one is heard";
}

TEST_F(ControlTest, WaitsForALateReply) {
    handle([this](const ControlRequest&, const ControlSocket::Answer& answer) {
        asio::post(io_, [answer] { answer({false, "later"}); });
    });
    EXPECT_EQ(formatReply(sendCommand(port_, "one")), "error later");
    EXPECT_EQ(formatReply(sendCommand(port_, "two")), "error later");
}

TEST_F(ControlTest, PassesAFileOfTheClient) {
    handle([](const ControlRequest& told, const ControlSocket::Answer& answer) {
        answer({told.file && std::fputs("written", told.file.get()) >= 0, told.command});
    });
    const TemporaryDirectory directory;
    const std::string text(200'000, 'x');
    EXPECT_EQ(formatReply(sendCommand(
                  port_, text, util::UniqueFile(std::fopen(directory.path("a").c_str(), "w")))),
              "ok " + text);
    EXPECT_EQ(formatReply(sendCommand(port_, "none")), "error none")
        << "no file is left over from before";
    EXPECT_EQ(directory.read("a"), "written");
}

TEST_F(ControlTest, PassesNoFileThatCannotBeWritten) {
    handle([](const ControlRequest& told, const ControlSocket::Answer& answer) {
        answer({told.file != nullptr, ""});
    });
    EXPECT_EQ(formatReply(sendCommand(port_, "x", util::UniqueFile(std::fopen("/dev/null", "r")))),
              "error ");
}

}  // namespace
}  // namespace pallbus::broker
