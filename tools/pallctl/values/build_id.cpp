#include "pallctl/values/build_id.h"

#include <elf.h>

#include <algorithm>
#include <cstring>

namespace pallctl {

namespace {

constexpr std::string_view kOwner{ELF_NOTE_GNU, sizeof ELF_NOTE_GNU};  // with its NUL
constexpr size_t kNoteAlignment = 4;

template <typename Record>
std::optional<Record> readRecord(std::string_view file, size_t offset) {
    if (offset > file.size() || file.size() - offset < sizeof(Record)) {
        return std::nullopt;
    }
    Record record;
    std::memcpy(&record, file.data() + offset, sizeof record);
    return record;
}

std::string toHex(std::string_view bytes) {
    constexpr const char* kDigits = "0123456789abcdef";
    std::string text;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        text += {kDigits[value >> 4], kDigits[value & 0xfU]};
    }
    return text;
}

size_t roundUp(size_t size) {
    return (size + kNoteAlignment - 1) / kNoteAlignment * kNoteAlignment;
}

// The notes of one segment follow each other: a head, the owner and the content, each aligned. The
// head has the same form in files of 32 and 64 bits.
std::optional<std::string> findInNotes(std::string_view notes) {
    while (const auto head = readRecord<Elf64_Nhdr>(notes, 0)) {
        const size_t owner = sizeof(Elf64_Nhdr);
        const size_t content = owner + roundUp(head->n_namesz);
        const size_t next = content + roundUp(head->n_descsz);
        if (content + head->n_descsz > notes.size()) {
            return std::nullopt;
        }
        if (head->n_type == NT_GNU_BUILD_ID && notes.substr(owner, head->n_namesz) == kOwner) {
            return toHex(notes.substr(content, head->n_descsz));
        }
        notes.remove_prefix(std::min(next, notes.size()));
    }
    return std::nullopt;
}

template <typename Header, typename Segment>
std::optional<std::string> findInSegments(std::string_view file) {
    const auto header = readRecord<Header>(file, 0);
    for (size_t number = 0; header && number < header->e_phnum; ++number) {
        const auto segment = readRecord<Segment>(
            file, static_cast<size_t>(header->e_phoff) + number * header->e_phentsize);
        if (segment && segment->p_type == PT_NOTE && segment->p_offset <= file.size()) {
            auto found = findInNotes(file.substr(static_cast<size_t>(segment->p_offset),
                                                 static_cast<size_t>(segment->p_filesz)));
            if (found) {
                return found;
            }
        }
    }
    return std::nullopt;
}

}  // namespace

std::optional<std::string> findBuildID(std::string_view file) {
    if (file.size() <= EI_CLASS || !file.starts_with(ELFMAG)) {
        return std::nullopt;
    }
    return file[EI_CLASS] == ELFCLASS64 ? findInSegments<Elf64_Ehdr, Elf64_Phdr>(file)
                                        : findInSegments<Elf32_Ehdr, Elf32_Phdr>(file);
}

}  // namespace pallctl
