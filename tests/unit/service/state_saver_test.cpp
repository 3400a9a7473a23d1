#include "service/state_saver.h"

#include <syslog.h>

#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "service_fixture.h"

namespace pallwatch {

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

// A state file that cannot be written while a directory is missing.
class StateSaverTest : public ServiceFixture {
  protected:
    void SetUp() override {
        start("Quorane", "");
        saver_ = std::make_unique<StateSaver>(io_, state());
    }

    void makeUnwritable() const { std::filesystem::rename(directory(), aside()); }
    void makeWritable() const { std::filesystem::rename(aside(), directory()); }

    void change(const std::string& name) {
        state().findParam("system.systemName")->setValue(std::make_shared<ToskStringValue>(name));
        saver_->noteChange();
    }

    std::string saved() const { return root_.read("/vantor/etc/state.json"); }

    // Runs the loop until the next wait is over.
    void runOneWait() {
        io_.restart();
        io_.run_one();
    }

    std::size_t linesOf(const std::string& text) const {
        std::size_t count = 0;
        for (const CapturedLog::Line& line : log_.lines()) {
            count += line.text.find(text) == std::string::npos ? 0U : 1U;
        }
        return count;
    }

    asio::io_service io_;
    std::unique_ptr<StateSaver> saver_;

  private:
    std::filesystem::path directory() const { return root_.path() + "/vantor/etc"; }
    std::filesystem::path aside() const { return root_.path() + "/aside"; }
};

TEST_F(StateSaverTest, WritesOnlyWhatHasChanged) {
    root_.remove("/vantor/etc/state.json");
    saver_->save();
    EXPECT_EQ(saved(), "");
    change("Studio");
    saver_->save();
    EXPECT_THAT(saved(), HasSubstr("Studio"));
}

TEST_F(StateSaverTest, FailedSaveIsTriedAgainUntilItWorks) {
    makeUnwritable();
    change("Studio");
    saver_->save();
    runOneWait();
    runOneWait();
    makeWritable();
    EXPECT_EQ(saved().find("Studio"), std::string::npos);
    runOneWait();
    EXPECT_THAT(saved(), HasSubstr("Studio"));
    EXPECT_EQ(io_.poll(), 0u) << "nothing is waited for any more";
}

TEST_F(StateSaverTest, LogTellsOnceThatSavingFailsAndOnceThatItWorks) {
    makeUnwritable();
    change("Studio");
    saver_->save();
    const std::size_t lines = log_.lines().size();
    runOneWait();
    runOneWait();
    EXPECT_THAT(log_.lines(), SizeIs(lines)) << "retries are silent";
    EXPECT_EQ(linesOf("cannot be saved, trying again every second"), 1u);
    makeWritable();
    runOneWait();
    EXPECT_EQ(linesOf("is saved again"), 1u);
}

TEST_F(StateSaverTest, NextSetThatSavesEndsTheRetries) {
    makeUnwritable();
    change("one");
    saver_->save();
    makeWritable();
    change("two");
    saver_->save();
    EXPECT_THAT(saved(), HasSubstr("two"));
    EXPECT_EQ(linesOf("is saved again"), 1u);
    io_.restart();
    io_.poll();
    EXPECT_TRUE(io_.stopped()) << "nothing is waited for any more";
}

TEST_F(StateSaverTest, EndIsTheLastTry) {
    makeUnwritable();
    change("Studio");
    saver_->save();
    makeWritable();
    saver_->finish();
    EXPECT_THAT(saved(), HasSubstr("Studio"));
}

TEST_F(StateSaverTest, EndTellsOfWhatIsLost) {
    saver_->finish();
    EXPECT_EQ(linesOf("lacks settings"), 0u);
    makeUnwritable();
    change("Studio");
    saver_->save();
    saver_->finish();
    EXPECT_EQ(linesOf("lacks settings that could not be saved"), 1u);
    makeWritable();
}

TEST_F(StateSaverTest, GoesOnWithWhatTheStartCouldNotWrite) {
    makeUnwritable();
    state().saveToOwnPath(false);
    saver_->followUp();
    makeWritable();
    runOneWait();
    EXPECT_THAT(saved(), HasSubstr("systemName"));
}

}  // namespace

}  // namespace pallwatch
