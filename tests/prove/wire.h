#pragma once

#include <atomic>
#include <chrono>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

#include "pallframe/simulation/system_call.h"

namespace prove {

// The bus of an attacked daemon. Takes connections and reads all that comes in a thread of its own,
// and asks for a value every 100 ms in another, so that an attack sees how long nobody is answered.
// The calls are for the attack's thread.
class Wire {
  public:
    using Clock = std::chrono::steady_clock;

    Wire();
    ~Wire();
    Wire(const Wire&) = delete;
    Wire& operator=(const Wire&) = delete;

    // How often the daemon has connected and said so.
    size_t logins() const { return logins_; }
    // False when it did not in that time.
    bool waitForLogin(size_t count, std::chrono::milliseconds patience) const;

    // Sends a payload in its frame, or bytes as they are; false when there is no connection any
    // more. Waits while the daemon does not read, for 30 s at most.
    bool send(std::string_view type, std::string_view data);
    bool sendBytes(std::string_view bytes);

    // Whether what comes is read; nothing is asked meanwhile.
    void setReading(bool reading);

    // The longest time without any answer while a question waited, also of the one that waits
    // still.
    std::chrono::duration<double> longestWait() const;
    // Whether what is asked now is answered in that time.
    bool isAnswered(std::chrono::milliseconds patience) const;

    // How many answers came with that id, and the last one's first 400 bytes.
    size_t answers(const std::string& id) const;
    std::string lastAnswer(const std::string& id) const;

    size_t longestFrame() const { return longestFrame_; }
    size_t strayBytes() const { return strayBytes_; }  // outside of any frame

    void closeConnection();  // the daemon has to come again
    void stopListening();
    void listen();
    void hang();  // takes no connection any more until it listens anew, and has room for one only
    void forgetQuestions();  // what was asked so far is not owed any more
    int port() const { return 15000; }

  private:
    struct Incoming {
        std::string head;  // of the frame, or its length so far
        size_t left = 0;   // bytes to come, with the terminator
        bool inFrame = false;
    };

    void serve();
    void take(std::string_view bytes);
    void takePayloadPart(std::string_view& bytes);
    void takeFrame();
    void takeAnswer(unsigned number);
    Clock::duration wait() const;
    void ask();
    int takeConnection();
    void dropConnection();
    bool sendAll(int socket, std::string_view bytes);

    pallframe::simulation::Descriptor listener_;
    pallframe::simulation::Descriptor connection_;
    mutable std::mutex state_;
    std::mutex sending_;
    Incoming incoming_;
    bool isLoggedIn_ = false;
    std::map<unsigned, Clock::time_point> asked_;  // by number
    unsigned questions_ = 0;
    std::map<std::string, size_t> answers_;
    std::map<std::string, std::string> lastAnswers_;
    Clock::duration longest_{};
    Clock::time_point lastAnswered_;  // when that was asked
    std::atomic<size_t> logins_ = 0;
    std::atomic<size_t> longestFrame_ = 0;
    std::atomic<size_t> strayBytes_ = 0;
    std::atomic<bool> reads_ = true;
    std::atomic<bool> hangs_ = false;
    std::atomic<bool> ends_ = false;
    std::thread server_;
    std::thread asker_;
};

}  // namespace prove
