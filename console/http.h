// HTTP/1.1 over sockets: the server of an agent's console, and the client of pd-show. Only GET and HEAD, and one
// request per connection.
//
// Boost.Beast knows the protocol. The sockets are our own, because the deadlines of a server are those of whole
// requests: blocking Asio has no deadlines. Debian's cpp-httplib has one per read only, queues clients without bound,
// and doesn't say which user a client is.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <sys/types.h>

namespace console {

using Fields = std::vector<std::pair<std::string, std::string>>; // names and values, of headers, trailers and queries

// Owns a file descriptor.
class Fd {
public:
    Fd() = default;
    explicit Fd(int fd) : fd_(fd) {}
    Fd(Fd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Fd& operator=(Fd&& other) noexcept {
        std::swap(fd_, other.fd_);
        return *this;
    }
    ~Fd();

    int get() const {
        return fd_;
    }
    explicit operator bool() const {
        return fd_ >= 0;
    }

private:
    int fd_ = -1;
};

// A Unix socket that listens at a path. Its file has the mode from the first moment, under any umask. It replaces a
// socket at which nobody listens any more. It never replaces one at which somebody listens, even if several processes
// start at once.
class ListeningSocket {
public:
    // Throws std::system_error: EADDRINUSE if somebody listens at the path, ENOTSOCK if something there is no socket,
    // ENAMETOOLONG, EBUSY if another process keeps the folder locked, and what the system says of the folder.
    ListeningSocket(const std::string& path, mode_t mode);
    ListeningSocket(const ListeningSocket&) = delete;
    ~ListeningSocket(); // removes the file, unless something else is there now

    int fd() const {
        return socket_.get();
    }
    mode_t mode() const {
        return mode_;
    }
    gid_t gid() const { // the group of the file
        return gid_;
    }

private:
    std::string name_; // in the folder
    Fd folder_, socket_;
    mode_t mode_;
    gid_t gid_ = 0;
    dev_t device_ = 0;
    ino_t inode_ = 0;
};

// Whether a socket's file of this mode and group lets the peer of this connection use it. Our own user and root always
// may.
bool may_use(int fd, mode_t mode, gid_t gid);

// A TCP socket that listens at a numeric IPv4 or IPv6 address. Port 0 chooses a free one. Throws std::system_error.
struct TcpSocket {
    Fd fd;
    uint16_t port;
};
TcpSocket listen_tcp(const std::string& address, uint16_t port);

struct Request {
    std::string method;             // "GET" or "HEAD"
    std::string path;               // path and query are percent-decoded
    std::vector<std::string> parts; // of the path, between its slashes; %2F doesn't separate parts
    Fields query;
    std::string accept, host; // headers; empty if the request has none
    unsigned version = 11;    // 10: HTTP/1.0, which has no chunks
};

// What the first bytes of a connection say. `status` is 0 if more bytes must come, 200 if `request` is sound, and
// otherwise the status of an error. A head of more than `most_bytes` is an error.
struct Parsed {
    int status = 0;
    std::string message;
    Request request;
};
Parsed parse_request(std::string_view bytes, size_t most_bytes);

// {"error":{"status":404,"message":"..."}} and a line end.
std::string error_body(int status, std::string_view message);

// For a path or query of a request.
std::string percent_encoded(std::string_view text);

// The value of the first header of this name, or "". Names are compared without regard to case.
std::string_view field_of(const Fields& fields, std::string_view name);

// Nobody waits for the rest of an answer: the client is gone, reads nothing for the time-out, asked for the head only,
// or the server stops. Not a std::exception, so that a handler of failures doesn't catch it.
struct Gone {};

// The answer to a request: one call of whole() or error(), or begin(), any number of write(), and end(). Every function
// may throw Gone. An answer that is begun and doesn't reach its end() is cut off. Clients notice that, except those of
// HTTP/1.0.
class Reply {
public:
    Reply(const Reply&) = delete;

    void whole(int status, std::string_view type, std::string_view body, const Fields& headers = {});
    void error(int status, std::string_view message, const Fields& headers = {});

    // The status is 200. `trailers` names the trailers that may come, such as "A, B".
    void begin(std::string_view type, std::string_view trailers = {}, const Fields& headers = {});
    void write(std::string_view text); // gathers chunks of 64 KiB
    void flush();                      // sends what was gathered
    void end(const Fields& trailers = {});

    bool begun() const { // whole(), error() or begin() was called
        return begun_;
    }
    // Throws Gone if the client hung up or the server stops. Long work that writes little calls it now and then. It
    // costs one system call.
    void check();

private:
    friend class Server;
    Reply(int fd, int stop, unsigned timeout_ms, std::atomic<uint64_t>& bytes)
        : fd_(fd),
          stop_(stop),
          timeout_ms_(timeout_ms),
          bytes_(bytes) {}

    void frame_chunk();
    void send(std::string_view bytes);

    int fd_, stop_;
    unsigned timeout_ms_;
    std::chrono::nanoseconds waited_{0}; // for the client
    uint64_t sent_ = 0;
    std::atomic<uint64_t>& bytes_;
    bool head_only_ = false, chunked_ = true; // what the request wants
    bool begun_ = false, gone_ = false;
    std::string chunk_, unsent_; // gathered, and ready to be sent
};

struct Limits {
    unsigned clients = 8;       // that are answered at once
    unsigned timeout_ms = 5000; // for a whole request, and for each step of a client that reads slowly
    size_t request_bytes = 4096;
};

// Accepts clients on a thread, and answers each on a thread of its own. A client beyond the limit waits for a moment
// and then gets status 503; one that isn't admitted gets 403. The threads block all signals.
class Server {
public:
    using Admit = std::function<bool(int fd)>;                         // on the accepting thread; must not wait
    using Handler = std::function<void(const Request&, Reply& reply)>; // what it throws becomes a status 500

    // The listening socket must outlive the server, and becomes non-blocking. Throws std::system_error.
    Server(int listening, const Limits& limits, Admit admit, Handler handler);
    Server(const Server&) = delete;
    ~Server(); // ends all answers: their next call of Reply throws Gone

    struct Load {
        unsigned clients; // that are being answered
        uint64_t requests, refused, bytes_sent;
    };
    Load load() const;

private:
    class Threads;
    std::unique_ptr<Threads> threads_;
};

struct Answer {
    int status = 0;
    std::string type; // of the content
    Fields headers, trailers;
};

// Asks the server at a Unix socket. `body` gets each part of the body as it comes, with the status and the headers. The
// time-out bounds each wait; 0 waits forever. Throws std::system_error if the system refuses, with ETIMEDOUT after a
// time-out, and std::runtime_error if the answer is broken or ends early. What `body` throws ends the answer.
// `check` is called a few times a second while the answer doesn't come, and may throw to give up.
Answer get(const std::string& socket_path, const std::string& target, const std::string& accept,
           const std::function<void(const Answer&, std::string_view)>& body, std::chrono::milliseconds timeout = {},
           const std::function<void()>& check = {});

} // namespace console
