#include "power_cuts.h"

#include <fcntl.h>
#include <sys/syscall.h>

#include <optional>
#include <stdexcept>

#include "card.h"
#include "disk.h"

namespace prove {

namespace {

struct Save {
    const char* kind;
    const char* param;
    const char* next;  // of the save after the power is back
};

constexpr Save kSaves[] = {
    {"power cut, state file", R"({"systemName":"after"})", R"({"systemName":"later"})"},
    {"power cut, network.conf", R"({"ipAddress":167772191})", R"({"ipAddress":167772192})"},
};

// The name of a path in the watched directory; empty for that itself and for what is not in it.
std::string nameIn(const char* path) {
    const std::string text = path;
    const std::string directory = std::string(kWatched) + "/";
    return text.starts_with(directory) ? text.substr(directory.size()) : std::string();
}

// Does again on a disk what the daemon did in its directory.
class Replay {
  public:
    Replay(const Directory& start, const ControlPage& page) : disk_(start), page_(page) {}

    const Disk& disk() const { return disk_; }

    void take(const Call& call) {
        if (call.result < 0) {
            return;
        }
        switch (call.number) {
            case SYS_open:
            case SYS_openat:
                open(call);
                break;
            case SYS_write:
                disk_.write(files_.at(call.descriptor), page_.bytesOf(call));
                break;
            case SYS_fsync:
            case SYS_fdatasync:
                sync(call);
                break;
            case SYS_rename:
            case SYS_renameat:
            case SYS_renameat2:
                disk_.rename(nameIn(call.path), nameIn(call.target));
                break;
            case SYS_unlink:
            case SYS_unlinkat:
                disk_.unlink(nameIn(call.path));
                break;
            case SYS_ftruncate:
            case SYS_truncate:
            case SYS_pwrite64:
            case SYS_writev:
            case SYS_link:
            case SYS_linkat:
            case SYS_symlink:
                throw std::runtime_error("a save by calls that no one has modelled");
            default:
                break;
        }
    }

  private:
    void open(const Call& call) {
        const std::string name = nameIn(call.path);
        if (!name.empty()) {
            files_[call.descriptor] =
                disk_.open(name, (call.flags & O_CREAT) != 0, (call.flags & O_TRUNC) != 0);
        } else {
            files_.erase(call.descriptor);
        }
    }

    void sync(const Call& call) {
        if (nameIn(call.path).empty()) {
            disk_.syncDirectory();
        } else {
            disk_.sync(files_.at(call.descriptor));
        }
    }

    Disk disk_;
    const ControlPage& page_;
    std::map<int, size_t> files_;
};

class PowerCuts {
  public:
    PowerCuts(const std::string& program, const Share& share, Tally& tally)
        : card_("QuoraneBrio", program), share_(share), tally_(tally) {}

    // A cut, and for each directory that it may leave another one during the next save.
    void prove(const Save& save) {
        const Directory before = saved(R"({"systemName":"before","active":7})");
        size_t position = 0;
        for (const Directory& left : cut(save.kind, before, save.param)) {
            if (share_.has(position++)) {
                cut(std::string(save.kind) + ", then another", left, save.next);
            }
        }
    }

  private:
    using Directories = std::set<Directory>;

    Directory saved(const char* param) {
        if (!card_.start() || card_.set(param) != 200) {
            throw std::runtime_error("the settings from before were not taken");
        }
        card_.kill();
        return card_.directory();
    }

    // Cuts the power at each moment of a save that begins on this directory; gives what may be left
    // and is no loss.
    Directories cut(const std::string& kind, const Directory& before, const char* param) {
        const std::string old = card_.found(before);
        card_.put(before);
        const std::vector<Call> calls = callsOf(param);
        const std::string sent = card_.found(after_);
        Replay replay(begun_, card_.page());
        Directories left = replay.disk().leftovers();
        for (const Call& call : calls) {
            replay.take(call);
            left.merge(replay.disk().leftovers());
        }
        checkAll(kind, replay.disk().leftovers(), {sent});
        return checkAll(kind, left, {old, sent});
    }

    std::vector<Call> callsOf(const char* param) {
        if (!card_.start(Fault{})) {
            throw std::runtime_error("the daemon does not start");
        }
        begun_ = card_.directory();
        card_.page().arm({});
        const int status = card_.set(param);
        card_.kill();
        after_ = card_.directory();
        if (status != 200) {
            throw std::runtime_error("the set was refused");
        }
        return card_.page().calls();
    }

    Directories checkAll(const std::string& kind, const Directories& left,
                         const std::vector<std::string>& allowed) {
        Directories good;
        for (const Directory& directory : left) {
            if (check(kind, directory, allowed)) {
                good.insert(directory);
            }
        }
        return good;
    }

    bool check(const std::string& kind, const Directory& directory,
               const std::vector<std::string>& allowed) {
        const std::string found = card_.found(directory);
        Counts& counts = tally_.of(kind);
        ++counts.cases;
        if (found == allowed.back()) {
            ++counts.foundNew;
        } else if (found == allowed.front()) {
            ++counts.foundOld;
        } else {
            tally_.lose(kind, (allowed.size() == 1 ? "after the save: " : "") +
                                  describe(directory) + "; found " + found);
            return false;
        }
        return true;
    }

    Card card_;
    const Share& share_;
    Tally& tally_;
    Directory begun_;  // when the save began
    Directory after_;
};

}  // namespace

void provePowerCuts(const std::string& program, const Share& share, Tally& tally) {
    for (const Save& save : kSaves) {
        PowerCuts(program, share, tally).prove(save);
    }
}

}  // namespace prove
