#include "pallctl/values/build_id.h"

#include <elf.h>

#include <gtest/gtest.h>

#include "util/files.h"

namespace pallctl {
namespace {

template <typename Record>
std::string bytesOf(const Record& record) {
    return {reinterpret_cast<const char*>(&record), sizeof record};
}

std::string note(uint32_t type, const std::string& content) {
    const Elf64_Nhdr head{4, static_cast<uint32_t>(content.size()), type};
    std::string padded = content;
    padded.resize((content.size() + 3) / 4 * 4);
    return bytesOf(head) + std::string("GNU\0", 4) + padded;
}

// A file with one segment of these notes right behind its headers.
template <typename Header, typename Segment>
std::string makeFile(unsigned char fileClass, const std::string& notes) {
    Header header{};
    header.e_ident[0] = '\x7f';
    header.e_ident[1] = 'E';
    header.e_ident[2] = 'L';
    header.e_ident[3] = 'F';
    header.e_ident[EI_CLASS] = fileClass;
    header.e_phoff = sizeof header;
    header.e_phentsize = sizeof(Segment);
    header.e_phnum = 2;
    Segment other{};
    other.p_type = PT_LOAD;
    Segment segment{};
    segment.p_type = PT_NOTE;
    segment.p_offset = sizeof header + 2 * sizeof segment;
    segment.p_filesz = static_cast<decltype(segment.p_filesz)>(notes.size());
    return bytesOf(header) + bytesOf(other) + bytesOf(segment) + notes;
}

std::string make64(const std::string& notes) {
    return makeFile<Elf64_Ehdr, Elf64_Phdr>(ELFCLASS64, notes);
}

TEST(BuildID, IsTheNoteOfTheLinker) {
    const std::string notes = note(NT_GNU_ABI_TAG, "abcde") + note(NT_GNU_BUILD_ID, "\x01\xfe\x23");
    EXPECT_EQ(findBuildID(make64(notes)), "01fe23");
    const std::string file32 = makeFile<Elf32_Ehdr, Elf32_Phdr>(ELFCLASS32, notes);
    EXPECT_EQ(findBuildID(file32), "01fe23");
}

TEST(BuildID, IsNotInOtherFiles) {
    for (const std::string& file : {std::string(), std::string("#!/bin/sh\n"),
                                    std::string("\x7f"
                                                "ELF"),
                                    make64(note(NT_GNU_ABI_TAG, "abcd"))}) {
        EXPECT_EQ(findBuildID(file), std::nullopt);
    }
}

TEST(BuildID, IsNotReadBeyondTheEnd) {
    const std::string whole = make64(note(NT_GNU_BUILD_ID, "abcdefgh"));
    for (size_t size = 0; size < whole.size(); ++size) {
        const std::string part = whole.substr(0, size);
        EXPECT_EQ(findBuildID(part), std::nullopt) << size;
    }
    Elf64_Nhdr huge{UINT32_MAX, UINT32_MAX, NT_GNU_BUILD_ID};
    EXPECT_EQ(findBuildID(make64(bytesOf(huge) + "GNU")), std::nullopt);
}

}  // namespace
}  // namespace pallctl
