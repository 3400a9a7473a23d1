#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "on_bus.h"

// The kinds of frames, as their cards name themselves, and what tells them apart.
inline constexpr const char* kProducts[] = {"Quorane", "Tessara", "Tessara-5ru", "QuoraneBrio",
                                            "KELI"};
bool onAny(std::string_view product);
bool onQuorane(std::string_view product);
bool onBrio(std::string_view product);
bool onKELI(std::string_view product);
bool onTessaraFrame(std::string_view product);
bool onTessaraEdition(std::string_view product);  // the software of all but the Brio
bool onPolled(std::string_view product);          // the same: whose hardware is polled

// A product's name where a test's name allows letters and digits only.
std::string identifierOf(std::string_view product);

inline constexpr const char* kAmbrixMarker = "/vantor/etc/ambrixDisabled";
inline constexpr const char* kSSHMarker = "/vantor/etc/sshServerDisabled";
inline constexpr const char* kFTPMarker = "/vantor/etc/ftpServerDisabled";

// Lines of the daemon in the system log.
harness::LogLine critical(const std::string& text);
harness::LogLine error(const std::string& text);
harness::LogLine warning(const std::string& text);
harness::LogLine info(const std::string& text);
harness::LogLine debug(const std::string& text);

// What is logged when a parameter took a new value; both as the log shows them.
std::vector<harness::LogLine> logOfChange(const std::string& key, const std::string& value);

// A program in the place of the frame's own one that ends with status 3, noted like all others.
void makeFail(const harness::Frame& frame, std::string_view path);

// One list after another.
template <typename Item>
std::vector<Item> joined(std::vector<Item> one, const std::vector<Item>& other) {
    one.insert(one.end(), other.begin(), other.end());
    return one;
}

// A frame of any product, and the daemon on it once it has come to rest: what the new…() calls give
// is of the test's own doing.
class OnProduct : public OnBus {
  protected:
    explicit OnProduct(std::string_view name) : OnBus(name), product(name) {}

    // Puts a file aside; the device behind it goes on, and show() brings it up to date.
    void hide(std::string_view path) const { frame.tree().setAside(path); }
    void show(std::string_view path) const { frame.tree().restore(path); }

    // Puts the converter's dump aside. What is left is the battery: its load is switched, and it is
    // announced once, with 0 V. The bus and the new…() calls leave that out.
    void silenceVoltages();

    // Puts aside all that the status poll reads, so that it has no more to announce than that.
    void silencePoll();

    // Starts the daemon and waits until the services that it starts run.
    void startAndSettle(const std::vector<std::string>& arguments = {});

    // Both of its programs are started in the background.
    void waitForAmbrix() const;

    // From here on things are new.
    void mark();

    std::vector<harness::LogLine> newLog();
    std::vector<std::string> newCommands() const;
    std::vector<std::string> waitForNewCommands(size_t count) const;
    std::string newOutput();  // the times in it shown as "<time>"

    // Passes over messages until that parameter is announced; gives the value as JSON.
    std::string waitForAnnouncement(const std::string& name);

    // The same with a value to wait for.
    void waitForAnnouncement(const std::string& name, const std::string& value);

    const std::string product;

  private:
    bool voltagesAreSilent_ = false;
    size_t linesBefore_ = 0;
    size_t commandsBefore_ = 0;
    size_t outputBefore_ = 0;
};
