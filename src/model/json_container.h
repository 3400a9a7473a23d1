#pragma once

#include <chrono>
#include <string>

#include "model/json_backed_data.h"
#include "util/file_replacement.h"

// A named object that is kept in one JSON file, { "version": ..., "<name>": ... }. A load finds
// what was saved last or the time before, whatever happens during a save, a power cut included: the
// text is written to "<path>.new" and synced, the current file becomes "<path>.old", the new one
// takes its place, and the old one goes only when the directory is synced too. When the path is a
// link, all of this happens to the file that it leads to. What a load found and could not use is
// never written over: before the next save takes its place it becomes "<path>.bad" (an earlier
// one of that name goes to "<path>.bad.2" ...), and an ".old" of that kind beside it
// "<path>.old.bad". Failures are log lines and results. Used by one thread at a time.
class AbstractJSONTopLevelContainer : public AbstractJSONBackedData {
  public:
    // The file is "<name>.json" in the working directory, or in `directory`, which is made before a
    // save when it does not exist. The caller keeps that text alive.
    explicit AbstractJSONTopLevelContainer(const std::string& name);
    AbstractJSONTopLevelContainer(const std::string& name, const char* directory);

    // The key of the payload in the file, and the first word of every message.
    virtual const char* getName() const = 0;

    // Writes the container to `path`; with `keepOld` what was there stays as "<path>.old". A
    // failure leaves a readable "<path>" or "<path>.old" of the time before. When memory ran out
    // anywhere on the way to the text, nothing is touched: it would be short of something.
    virtual void save(const char* path, bool keepOld);

    // The same to the container's own path, if it has one.
    virtual void saveToOwnPath(bool keepOld);

    // Whether the file on the disk holds what the last save was given; true before the first one.
    // An
    // ".old" file that could not be removed does not count.
    bool saved() const { return saved_; }

    // saveToOwnPath(false) once more, without a log line. The result of saved().
    bool retrySave();

    // For derived classes with something of their own to bring up to date; nothing here.
    virtual void update() {}

    // Fills the container from its file, or from the ".old" one when that is missing or holds no
    // container. The result of fromJSON, or -1 when nothing was found to read. A file that is there
    // and cannot be opened is tried again for two seconds. Aborts the process when a file that
    // could be opened cannot be read or memory is short: going on with half a state would be worse.
    virtual int load();

    const std::string& path() const { return path_; }
    double version() const { return version_; }
    void setVersion(double version) { version_ = version; }
    // False: loading leaves the file alone.
    void setLoadFromDisk(bool loadFromDisk) { loadFromDisk_ = loadFromDisk; }

  protected:
    // Without a file of its own: saveToOwnPath does nothing.
    AbstractJSONTopLevelContainer() = default;

    // 0 when the new file is in place and nothing is left over; otherwise the failure was logged.
    int writeFile(const std::string& path, const cJSON* root, bool keepOld);

  private:
    // The files of one save, beside the one that the path leads to.
    struct Names;
    // What a load found under a name.
    struct Found;
    // Files that a load found and could not use.
    struct Unusable {
        bool current = false;
        bool old = false;
    };

    util::UniqueJSON document(const char* path) const;
    std::string rendered(const cJSON* root, const std::string& path) const;
    Names namesBeside(const std::string& path) const;
    int existence(const std::string& path) const;
    util::WriteFailure writeNew(const Names& names, const std::string& text,
                                const std::string& path) const;
    int leaveOldOnly(const Names& names) const;
    int rotate(const Names& names, bool existed, bool keepOld);
    int takePlace(const Names& names, bool existed) const;
    bool keepUnusable(const Names& names);
    bool keepAs(const std::string& from, const std::string& to) const;
    int removeOld(const Names& names) const;
    int moveFile(const std::string& from, const std::string& to, const char* role) const;
    void logRenameFailure(const std::string& from, const std::string& to, const char* role) const;
    void logWriteFailure(const Names& names) const;
    void logSaveFailure(const char* path) const;

    Found find(const std::string& path);
    int loadOld(bool currentOpened);
    int takeNothing();
    int take(const cJSON* root, const std::string& path);
    int takePayload(const cJSON* payload);
    // Waits before a file is tried again.
    virtual void waitFor(std::chrono::milliseconds time);

    std::string path_;
    double version_ = 0;
    bool loadFromDisk_ = true;
    bool saved_ = true;
    Unusable unusable_;
    const char* directory_ = nullptr;
};
