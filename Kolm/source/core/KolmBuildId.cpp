// KolmBuildId.cpp: the note of the linker, found in the segments that the loader mapped.

#include "KolmBuildId.h"

#include <elf.h>
#include <link.h>

#include "KolmSHA1.h"

namespace Kolm {

namespace {

// Digest of the build-id note among the notes of a segment.
bool find_note(const uint8_t *data, size_t size, uint32_t *hash) {
    constexpr size_t header_size = sizeof(ElfW(Nhdr));
    while(size >= header_size) {
        ElfW(Nhdr) note;
        memcpy(&note, data, header_size);
        const size_t name_size = align_up<size_t>(note.n_namesz, 4);
        const size_t length = header_size + name_size + align_up<size_t>(note.n_descsz, 4);
        if(length > size) return false;
        if(note.n_type == NT_GNU_BUILD_ID && note.n_namesz == 4 && memcmp(data + header_size, "GNU", 4) == 0) {
            SHA1 sha;
            sha.update(data + header_size + name_size, note.n_descsz);
            sha.finish(hash);
            return true;
        }
        data += length;
        size -= length;
    }
    return false;
}

// Of one mapped object: 1 if it is the one with this code, and the digest is there.
int find_object(dl_phdr_info *info, size_t, void *data) {
    const uintptr_t code = reinterpret_cast<uintptr_t>(&find_note);
    bool own = false;
    for(uint32_t i = 0; i < info->dlpi_phnum; i++) {
        const ElfW(Phdr) &segment = info->dlpi_phdr[i];
        const uintptr_t start = info->dlpi_addr + segment.p_vaddr;
        own |= (segment.p_type == PT_LOAD && code >= start && code - start < segment.p_memsz);
    }
    for(uint32_t i = 0; own && i < info->dlpi_phnum; i++) {
        const ElfW(Phdr) &segment = info->dlpi_phdr[i];
        const uint8_t *notes = reinterpret_cast<const uint8_t *>(info->dlpi_addr + segment.p_vaddr);
        if(segment.p_type == PT_NOTE && find_note(notes, segment.p_memsz, static_cast<uint32_t *>(data))) return 1;
    }
    return 0;
}

} // namespace

bool get_build_id(uint32_t *hash) {
    struct Result {
        Result() { found = (dl_iterate_phdr(find_object, hash) != 0); }
        uint32_t hash[SHA1::NumWords] = {};
        bool found;
    };
    static const Result result;
    memcpy(hash, result.hash, sizeof(result.hash));
    return result.found;
}

} // namespace Kolm
