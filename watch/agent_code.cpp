// See agent_code.h.
#include "watch/agent_code.h"

#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <string_view>
#include <vector>

#include <cxxabi.h>
#include <dlfcn.h>
#include <elf.h>
#include <execinfo.h>
#include <link.h>

#include "watch/layer.h"

namespace pd_watch {
namespace {

std::string_view file_name(std::string_view path) {
    return path.substr(path.rfind('/') + 1);
}

// The functions of a module by their address in the file, from its symbol table. It also has those that a program
// doesn't export, unless it was stripped.
using Functions = std::map<uint64_t, std::pair<uint64_t, std::string>>;

Functions functions_in(const char* path) {
    Functions functions;
    std::ifstream file(path, std::ios::binary);
    const auto read_at = [&](uint64_t place, auto* items, size_t count) {
        file.seekg(static_cast<std::streamoff>(place));
        file.read(reinterpret_cast<char*>(items), static_cast<std::streamsize>(count * sizeof *items));
        return file.good();
    };
    Elf64_Ehdr header;
    if (!read_at(0, &header, 1) || std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_shnum == 0) return {};
    std::vector<Elf64_Shdr> sections(header.e_shnum);
    if (!read_at(header.e_shoff, sections.data(), sections.size())) return {};
    for (const Elf64_Shdr& section : sections) {
        if (section.sh_type != SHT_SYMTAB || section.sh_link >= sections.size()) continue;
        std::vector<Elf64_Sym> symbols(section.sh_size / sizeof(Elf64_Sym));
        std::string names(sections[section.sh_link].sh_size, '\0');
        if (!read_at(section.sh_offset, symbols.data(), symbols.size()) ||
            !read_at(sections[section.sh_link].sh_offset, names.data(), names.size()))
            return {};
        for (const Elf64_Sym& symbol : symbols)
            if (ELF64_ST_TYPE(symbol.st_info) == STT_FUNC && symbol.st_size != 0 && symbol.st_name < names.size())
                functions[symbol.st_value] = {symbol.st_size, names.c_str() + symbol.st_name};
    }
    return functions;
}

std::string readable(const char* symbol) {
    int failed = 0;
    const std::unique_ptr<char, decltype(&free)> name(abi::__cxa_demangle(symbol, nullptr, nullptr, &failed), &free);
    std::string_view full = name != nullptr ? name.get() : symbol;
    // Only the name: no return type, no arguments.
    std::string text;
    for (int depth = 0; !full.empty(); full.remove_prefix(1)) {
        constexpr std::string_view unnamed = "(anonymous namespace)::";
        if (full.starts_with(unnamed)) {
            full.remove_prefix(unnamed.size() - 1);
            continue;
        }
        if (const size_t end = full.find('}'); full.starts_with("{lambda(") && end != full.npos) {
            text += "{lambda}";
            full.remove_prefix(end);
            continue;
        }
        if (depth == 0 && full[0] == '(') break;
        if (full[0] == '<') ++depth;
        if (depth == 0 && full[0] == ' ')
            text.clear();
        else if (depth == 0)
            text += full[0];
        if (full[0] == '>' && depth != 0) --depth;
    }
    return text;
}

std::string with_offset(const std::string& name, uint64_t offset) {
    char digits[24];
    snprintf(digits, sizeof digits, "0x%lx", static_cast<unsigned long>(offset));
    return name.empty() ? digits : name + "+" + digits;
}

} // namespace

const void* agent_code() {
    void* frames[64];
    const int count = backtrace(frames, std::size(frames));
    Dl_info here{};
    dladdr(reinterpret_cast<const void*>(&agent_code), &here);
    bool is_above_layer = false; // a sanitizer may take the stack in the layer's place
    for (int i = 0; i < count; ++i) {
        const void* const code = static_cast<const char*>(frames[i]) - 1; // in the call, not after it
        Dl_info place{};
        if (is_in_driver(code) || dladdr(code, &place) == 0) continue;
        if (place.dli_fbase == here.dli_fbase) is_above_layer = true;
        if (!is_above_layer || place.dli_fbase == here.dli_fbase) continue;
        if (!file_name(place.dli_fname).starts_with("libvl_bf_pd_default.so")) return code;
    }
    return nullptr;
}

std::string code_name(const void* code) {
    Dl_info place{};
    link_map* map = nullptr;
    if (dladdr1(code, &place, reinterpret_cast<void**>(&map), RTLD_DL_LINKMAP) == 0)
        return with_offset({}, reinterpret_cast<uintptr_t>(code));
    const std::string module = " in " + std::string(file_name(place.dli_fname));
    const uint64_t address = reinterpret_cast<uintptr_t>(code) - map->l_addr;
    if (place.dli_sname != nullptr)
        return with_offset(
                   readable(place.dli_sname),
                   static_cast<uint64_t>(static_cast<const char*>(code) - static_cast<const char*>(place.dli_saddr))) +
               module;
    static std::mutex mutex;
    static std::map<std::string, Functions> modules;
    const std::lock_guard lock(mutex);
    const auto [known, is_new] = modules.try_emplace(place.dli_fname);
    if (is_new) {
        // The program may go by a relative path, and have another working directory by now.
        known->second = functions_in(map->l_name[0] == 0 ? "/proc/self/exe" : place.dli_fname);
    }
    const auto next = known->second.upper_bound(address);
    if (next != known->second.begin()) {
        const auto& [begin, function] = *std::prev(next);
        if (address - begin < function.first)
            return with_offset(readable(function.second.c_str()), address - begin) + module;
    }
    return with_offset({}, address) + module;
}

} // namespace pd_watch
