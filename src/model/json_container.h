#pragma once

#include <chrono>
#include <string>

#include "model/json_backed_data.h"
#include "util/file_replacement.h"

// A named object that is kept in one JSON file, { "version": ..., "<name>": ... }. A load finds the
// state of the last save or of the one before, even when a save fails or the power is cut: the text
// is written to "<path>.new" and synced, the current file becomes "<path>.old", the new file takes
// its place, and the old one is removed after the directory was synced. When the path is a link,
// these steps apply to the file at its end. A file that a load could not use is never overwritten:
// before the next save it is renamed to "<path>.bad" (an earlier one to "<path>.bad.2" ...), and
// an unusable ".old" file beside it to "<path>.old.bad". Failures are logged and returned. Used by
// one thread at a time.
class AbstractJSONTopLevelContainer : public AbstractJSONBackedData {
  public:
    // The file is "<name>.json" in the working directory, or in `directory`, which is created
    // before a save when it does not exist. The caller keeps that text alive.
    explicit AbstractJSONTopLevelContainer(const std::string& name);
    AbstractJSONTopLevelContainer(const std::string& name, const char* directory);

    // The key of the payload in the file, and the first word of every message.
    virtual const char* getName() const = 0;

    // Writes the container to `path`; with `keepOld` the previous file stays as "<path>.old". After
    // a failure the previous state is readable in "<path>" or "<path>.old". When memory runs out
    // before the text is complete, no file is touched.
    virtual void save(const char* path, bool keepOld);

    // The same to the container's own path, if it has one.
    virtual void saveToOwnPath(bool keepOld);

    // Whether the file on the disk holds the state of the last save; true before the first one. An
    // ".old" file that could not be removed does not make it false.
    bool saved() const { return saved_; }

    // saveToOwnPath(false) once more, without a log line. The result of saved().
    bool retrySave();

    // A hook for derived classes; does nothing here.
    virtual void update() {}

    // Fills the container from its file, or from the ".old" file when that one is missing or holds
    // no container. Returns the result of fromJSON, or -1 without a usable file. A file that exists
    // and cannot be opened is tried again for two seconds. Aborts the process when an opened file
    // cannot be read or memory is short, because half a state would be worse.
    virtual int load();

    const std::string& path() const { return path_; }
    double version() const { return version_; }
    void setVersion(double version) { version_ = version; }
    // With false, load() does not read the file.
    void setLoadFromDisk(bool loadFromDisk) { loadFromDisk_ = loadFromDisk; }

  protected:
    // A container without a file: saveToOwnPath does nothing.
    AbstractJSONTopLevelContainer() = default;

    // Returns 0 when the new file is in place and no old one is left; otherwise logs the failure.
    int writeFile(const std::string& path, const cJSON* root, bool keepOld);

  private:
    // The files of one save, beside the one that the path leads to.
    struct Names;
    // The file that a load found under a name.
    struct Found;
    // Files that a load found and could not use.
    struct Unusable {
        bool current = false;
        bool old = false;
    };

    util::UniqueJSON makeDocument(const char* path) const;
    // An item that is printed as the result of toJSON() is.
    virtual util::UniqueJSON makePayload() const { return toJSON(); }
    std::string render(const cJSON* root, const std::string& path) const;
    Names namesFor(const std::string& path) const;
    int statFile(const std::string& path) const;
    util::WriteFailure writeNew(const Names& names, const std::string& text,
                                const std::string& like, const std::string& path) const;
    int leaveOldOnly(const Names& names) const;
    int rotate(const Names& names, bool existed, bool keepOld);
    int moveIntoPlace(const Names& names, bool existed) const;
    bool setUnusableAside(const Names& names);
    bool setAside(const std::string& from, const std::string& to) const;
    int removeOld(const Names& names) const;
    int moveFile(const std::string& from, const std::string& to, const char* role) const;
    void logRenameFailure(const std::string& from, const std::string& to, const char* role) const;
    void logWriteFailure(const Names& names) const;
    void logFailure(const char* format, ...) const __attribute__((format(printf, 2, 3)));

    Found find(const std::string& path);
    int loadOld(bool currentOpened);
    int loadNothing();
    int applyDocument(const cJSON* root, const std::string& path);
    int applyPayload(const cJSON* payload);
    // Waits before a file is tried again.
    virtual void waitFor(std::chrono::milliseconds time);

    std::string path_;
    double version_ = 0;
    bool loadFromDisk_ = true;
    bool saved_ = true;
    bool retrying_ = false;
    Unusable unusable_;
    const char* directory_ = nullptr;
};
