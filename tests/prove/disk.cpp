#include "disk.h"

namespace prove {

Disk::Disk(const Directory& start) {
    for (const auto& [name, entry] : start) {
        sure_[name] = files_.size();
        files_.push_back({entry, entry});
    }
    present_ = sure_;
}

size_t Disk::open(const std::string& name, bool creates, bool truncates) {
    if (!present_.contains(name) && creates) {
        const size_t file = files_.size();
        files_.push_back({plainFile(""), plainFile("")});
        changeNames([=](Names& names) { names[name] = file; });
    }
    const size_t file = present_.at(name);
    if (truncates) {
        truncate(file, 0);
    }
    return file;
}

void Disk::write(size_t file, const std::string& bytes) {
    files_.at(file).now.text += bytes;
}

void Disk::truncate(size_t file, size_t size) {
    files_.at(file).now.text.resize(size);
}

void Disk::sync(size_t file) {
    files_.at(file).sure = files_.at(file).now;
}

void Disk::rename(const std::string& from, const std::string& to) {
    const size_t file = present_.at(from);
    changeNames([=](Names& names) {
        names.erase(from);
        names[to] = file;
    });
}

void Disk::unlink(const std::string& name) {
    changeNames([=](Names& names) { names.erase(name); });
}

void Disk::syncDirectory() {
    sure_ = present_;
    pending_.clear();
}

std::set<Directory> Disk::leftovers() const {
    std::set<Directory> all;
    for (size_t choice = 0; choice < size_t{1} << pending_.size(); ++choice) {
        Names names = sure_;
        for (size_t i = 0; i < pending_.size(); ++i) {
            if ((choice >> i & 1U) != 0) {
                pending_[i](names);
            }
        }
        all.merge(directoriesOf(names));
    }
    return all;
}

void Disk::changeNames(const std::function<void(Names&)>& change) {
    change(present_);
    pending_.push_back(change);
}

std::set<Entry> Disk::waysOf(const File& file) const {
    if (file.sure == file.now) {
        return {file.now};
    }
    Entry empty = file.now;
    empty.text.clear();
    Entry torn = file.now;
    torn.text.resize(torn.text.size() / 2);
    return {file.sure, file.now, empty, torn};
}

std::set<Directory> Disk::directoriesOf(const Names& names) const {
    std::set<Directory> all{Directory()};
    for (const auto& [name, file] : names) {
        std::set<Directory> more;
        for (const Entry& entry : waysOf(files_.at(file))) {
            for (Directory directory : all) {
                directory[name] = entry;
                more.insert(std::move(directory));
            }
        }
        all = std::move(more);
    }
    return all;
}

}  // namespace prove
