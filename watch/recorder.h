// Writes a recording: JSON lines, the first with its version, then one for each call in the order in which they ended.
//
// The last lines are in memory that is mapped from a second file, FILE.tail, until there are enough of them for one
// write. When the process is killed, the system keeps both files. A process that ends leaves only the first.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>

#include "watch/observer.h"
#include "watch/pipeline.h"
#include "watch/text.h"

namespace pd_watch {

// The content of FILE.tail. Readers take `used` bytes of lines, and leave out those that the recording has already: the
// process may be killed between a write to the recording and the next change here.
struct Tail {
    static constexpr size_t size = size_t{256} << 10;
    std::atomic<uint64_t> used;
    char lines[size - sizeof(uint64_t)];
};
static_assert(sizeof(Tail) == Tail::size);

inline std::string tail_path(const std::string& path) {
    return path + ".tail";
}

class Recorder : public Observer {
public:
    // Makes the file anew. If another process of the same run of pd-watch has made it, this one appends its process id
    // to the name. A file that can't be written is told once, and nothing is recorded.
    Recorder(const Pipeline& pipeline, std::string path, const std::string& run);
    ~Recorder() override;

    void ended(const Call& call, uint32_t thread) override;
    // Ends the file: nothing comes after the last line.
    void finish() override;

private:
    void append(std::string_view head, std::string_view rest);
    bool flush();
    bool write_all(std::string_view text);
    void give_up(const char* what);
    void end_file();

    const Pipeline& pipeline_;
    std::string path_;
    std::mutex mutex_;
    uint64_t began_ = 0;
    uint64_t sequence_ = 0;
    Text head_; // of a line
    int file_ = -1;
    Tail* tail_ = nullptr;
};

} // namespace pd_watch
