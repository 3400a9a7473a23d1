#include "switchboard/control.h"

#include <unistd.h>

#include <cstdio>
#include <future>
#include <thread>

#include <asio/post.hpp>
#include <gtest/gtest.h>

#include "support/temporary_directory.h"

namespace pallbus {
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
    ControlSocket::Handle handle_ = [](const Instruction& told,
                                       const ControlSocket::Answer& answer) {
        answer({true, "told: " + told.text});
    };
    ControlSocket control_{io_, port_,
                           [this](Instruction instruction, const ControlSocket::Answer& answer) {
                               handle_(std::move(instruction), answer);
                           }};
    std::thread loop_{[this] { io_.run(); }};
};

std::string textOf(const std::optional<Reply>& reply) {
    return reply ? (reply->done ? "ok " : "no ") + reply->text : "no bus";
}

TEST_F(ControlTest, CarriesATextAndItsAnswer) {
    EXPECT_EQ(textOf(tell(port_, "one")), "ok told: one");
    const std::string large(1'000'000, 'x');
    EXPECT_EQ(textOf(tell(port_, large)), "ok told: " + large);
}

TEST_F(ControlTest, TakesNoTextWithoutEnd) {
    EXPECT_EQ(textOf(tell(port_, std::string(2'000'000, 'x'))), "no bus");
    EXPECT_EQ(textOf(tell(port_, "two")), "ok told: two") << "the next one is heard";
}

TEST_F(ControlTest, WaitsForAnAnswerThatTakesItsTime) {
    handle([this](const Instruction&, const ControlSocket::Answer& answer) {
        asio::post(io_, [answer] { answer({false, "later"}); });
    });
    EXPECT_EQ(textOf(tell(port_, "one")), "no later");
    EXPECT_EQ(textOf(tell(port_, "two")), "no later");
}

TEST_F(ControlTest, HandsOverAFileOfWhoTells) {
    handle([](const Instruction& told, const ControlSocket::Answer& answer) {
        answer({told.file && std::fputs("written", told.file.get()) >= 0, told.text});
    });
    const TemporaryDirectory directory;
    const std::string text(200'000, 'x');
    EXPECT_EQ(textOf(tell(port_, text, UniqueFile(std::fopen(directory.path("a").c_str(), "w")))),
              "ok " + text);
    EXPECT_EQ(textOf(tell(port_, "none")), "no none") << "no file is left over from before";
    EXPECT_EQ(directory.read("a"), "written");
}

TEST_F(ControlTest, HandsOverNoFileThatCannotBeWritten) {
    handle([](const Instruction& told, const ControlSocket::Answer& answer) {
        answer({told.file != nullptr, ""});
    });
    EXPECT_EQ(textOf(tell(port_, "x", UniqueFile(std::fopen("/dev/null", "r")))), "no ");
}

}  // namespace
}  // namespace pallbus
