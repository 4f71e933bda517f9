// HTTP over sockets: Beast reads and writes heads and chunks, poll() waits.
#include "console/http.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <limits>
#include <list>
#include <mutex>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <thread>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <boost/asio/buffer.hpp>
#include <boost/beast/core/string.hpp>
#include <boost/beast/http/basic_parser.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/error.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/write.hpp>

#include "views/output.h"

namespace console {
namespace {

namespace http = boost::beast::http;
using boost::system::error_code;
using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::milliseconds;

constexpr auto any_length = std::numeric_limits<uint64_t>::max(); // Beast 1.74 takes boost::none for no length

[[noreturn]] void fail(int error, const std::string& what) {
    throw std::system_error(error, std::generic_category(), what);
}

Fd opened(int fd, const std::string& what) {
    if (fd < 0) fail(errno, what);
    return Fd(fd);
}

// For poll(): rounded up, so that a wait of 0 has reached the deadline.
int milliseconds_until(Clock::time_point deadline) {
    const auto left = std::chrono::ceil<Milliseconds>(deadline - Clock::now()).count();
    return static_cast<int>(std::clamp<int64_t>(left, 0, 3600'000));
}

sockaddr_un address_of(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.find('\0') != std::string::npos) fail(EINVAL, path);
    if (path.size() >= sizeof address.sun_path) fail(ENAMETOOLONG, path);
    path.copy(address.sun_path, path.size());
    return address;
}

Fd unix_socket(int flags) {
    return opened(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | flags, 0), "socket");
}

template <class Address>
int connect_to(const Fd& fd, const Address& address) {
    return connect(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 ? 0 : errno;
}

template <class Address>
int bind_to(const Fd& fd, const Address& address) {
    return bind(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 ? 0 : errno;
}

// A name in the folder that only this call uses, with the socket bound to it. Its mode is never wider than asked for.
std::string bind_somewhere(const Fd& socket, const Fd& folder, const std::string& folder_path, mode_t mode) {
    static std::atomic<unsigned> count = 0;
    if (fchmod(socket.get(), mode) != 0) fail(errno, "fchmod");
    for (int tries = 0; tries < 100; ++tries) {
        std::string name = ".console." + std::to_string(getpid()) + "." + std::to_string(count++);
        std::string path = folder_path + name;
        if (path.size() >= sizeof sockaddr_un{}.sun_path)
            path = "/proc/self/fd/" + std::to_string(folder.get()) + "/" + name; // short
        const int error = bind_to(socket, address_of(path));
        if (error == 0) return name;
        if (error != EADDRINUSE) fail(error, folder_path);
    }
    fail(EADDRINUSE, folder_path);
}

// Whether the socket at the path has nobody who listens. Throws if somebody does, or if it is no socket.
bool is_stale(const Fd& folder, const std::string& name, const std::string& path) {
    struct stat there;
    if (fstatat(folder.get(), name.c_str(), &there, AT_SYMLINK_NOFOLLOW) != 0) {
        if (errno == ENOENT) return false;
        fail(errno, path);
    }
    if (!S_ISSOCK(there.st_mode)) fail(ENOTSOCK, path);
    switch (const int error = connect_to(unix_socket(SOCK_NONBLOCK), address_of(path))) {
    case ECONNREFUSED:
        return true;
    case ENOENT:
        return false;
    case 0:
    case EAGAIN:     // many wait for it
    case EPROTOTYPE: // a socket of another kind
        fail(EADDRINUSE, path);
    default:
        fail(error, path);
    }
}

// Two processes may find the same stale socket. The lock keeps one from replacing the other's new socket.
void lock_folder(const Fd& folder, const std::string& path) {
    const auto deadline = Clock::now() + std::chrono::seconds(1);
    while (flock(folder.get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR) fail(errno, path);
        if (Clock::now() >= deadline) fail(EBUSY, path);
        std::this_thread::sleep_for(Milliseconds(10));
    }
}

} // namespace

Fd::~Fd() {
    if (fd_ >= 0) close(fd_);
}

ListeningSocket::ListeningSocket(const std::string& path, mode_t mode) : mode_(mode) {
    address_of(path);
    const size_t begin = path.rfind('/') + 1; // npos + 1 is 0
    const std::string folder_path = path.substr(0, begin);
    name_ = path.substr(begin);
    if (name_.empty()) fail(EINVAL, path);
    folder_ = opened(open(begin == 0 ? "." : folder_path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC), path);
    socket_ = unix_socket(SOCK_NONBLOCK);
    const std::string made = bind_somewhere(socket_, folder_, folder_path, mode);
    try {
        // The umask may have narrowed the mode.
        if (fchmodat(folder_.get(), made.c_str(), mode, AT_SYMLINK_NOFOLLOW) != 0 && errno != EOPNOTSUPP)
            fail(errno, path);
        struct stat own;
        if (fstatat(folder_.get(), made.c_str(), &own, AT_SYMLINK_NOFOLLOW) != 0) fail(errno, path);
        gid_ = own.st_gid;
        device_ = own.st_dev;
        inode_ = own.st_ino;
        if (listen(socket_.get(), 64) != 0) fail(errno, path);
        for (int tries = 0; linkat(folder_.get(), made.c_str(), folder_.get(), name_.c_str(), 0) != 0; ++tries) {
            if (errno != EEXIST || tries == 100) fail(errno, path);
            if (!is_stale(folder_, name_, path)) continue;
            lock_folder(folder_, path);
            const bool replaces = is_stale(folder_, name_, path);
            if (replaces && renameat(folder_.get(), made.c_str(), folder_.get(), name_.c_str()) != 0) fail(errno, path);
            flock(folder_.get(), LOCK_UN);
            if (replaces) return;
        }
    } catch (...) {
        unlinkat(folder_.get(), made.c_str(), 0);
        throw;
    }
    unlinkat(folder_.get(), made.c_str(), 0);
}

// While the socket listens nobody takes it for stale, so the file goes first.
ListeningSocket::~ListeningSocket() {
    struct stat there;
    if (fstatat(folder_.get(), name_.c_str(), &there, AT_SYMLINK_NOFOLLOW) == 0 && there.st_dev == device_ &&
        there.st_ino == inode_)
        unlinkat(folder_.get(), name_.c_str(), 0);
}

bool may_use(int fd, mode_t mode, gid_t gid) {
    ucred peer;
    socklen_t size = sizeof peer;
    if (getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) return false;
    if (peer.uid == 0 || peer.uid == geteuid() || (mode & S_IWOTH) != 0) return true;
    if ((mode & S_IWGRP) == 0) return false;
    if (peer.gid == gid) return true;
    std::vector<gid_t> groups(64);
    for (int tries = 0; tries < 2; ++tries) { // a second time with the size that the first says
        size = static_cast<socklen_t>(groups.size() * sizeof(gid_t));
        const int result = getsockopt(fd, SOL_SOCKET, SO_PEERGROUPS, groups.data(), &size);
        if (result != 0 && errno != ERANGE) return false;
        groups.resize(size / sizeof(gid_t));
        if (result == 0) return std::find(groups.begin(), groups.end(), gid) != groups.end();
    }
    return false;
}

TcpSocket listen_tcp(const std::string& address, uint16_t port) {
    sockaddr_in v4{};
    sockaddr_in6 v6{};
    v4.sin_family = AF_INET;
    v6.sin6_family = AF_INET6;
    v4.sin_port = v6.sin6_port = htons(port);
    const bool is_v4 = inet_pton(AF_INET, address.c_str(), &v4.sin_addr) == 1;
    if (!is_v4 && inet_pton(AF_INET6, address.c_str(), &v6.sin6_addr) != 1) fail(EINVAL, address);
    Fd fd = opened(socket(is_v4 ? AF_INET : AF_INET6, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0), address);
    const int on = 1;
    setsockopt(fd.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    if (!is_v4) setsockopt(fd.get(), IPPROTO_IPV6, IPV6_V6ONLY, &on, sizeof on);
    if (const int error = is_v4 ? bind_to(fd, v4) : bind_to(fd, v6)) fail(error, address);
    socklen_t size = is_v4 ? sizeof v4 : sizeof v6;
    auto* const chosen = is_v4 ? reinterpret_cast<sockaddr*>(&v4) : reinterpret_cast<sockaddr*>(&v6);
    if (listen(fd.get(), 64) != 0 || getsockname(fd.get(), chosen, &size) != 0) fail(errno, address);
    return {std::move(fd), ntohs(is_v4 ? v4.sin_port : v6.sin6_port)};
}

// ---- Requests

namespace {

int value_of_hex(char digit) {
    constexpr std::string_view digits = "0123456789abcdef";
    const char lower = digit >= 'A' && digit <= 'F' ? static_cast<char>(digit + ('a' - 'A')) : digit;
    const size_t value = digits.find(lower);
    return value == digits.npos ? -1 : static_cast<int>(value);
}

// False for a bad code, and for a NUL, which would end names too early.
bool decode(std::string_view text, bool plus_is_space, std::string& out) {
    for (size_t i = 0; i < text.size(); ++i) {
        char letter = text[i];
        if (letter == '+' && plus_is_space) letter = ' ';
        if (letter == '%') {
            if (text.size() - i < 3) return false;
            const int high = value_of_hex(text[i + 1]), low = value_of_hex(text[i + 2]);
            if (high < 0 || low < 0) return false;
            letter = static_cast<char>(high << 4 | low);
            i += 2;
        }
        if (letter == '\0') return false;
        out += letter;
    }
    return true;
}

// Takes what is before the separator off a text; all, without one.
std::string_view take_until(std::string_view& rest, char separator) {
    const std::string_view taken = rest.substr(0, rest.find(separator));
    rest.remove_prefix(std::min(taken.size() + 1, rest.size()));
    return taken;
}

bool decode_target(std::string_view target, Request& request) {
    std::string_view path = take_until(target, '?');
    if (!decode(path, false, request.path)) return false;
    for (path.remove_prefix(1);; path.remove_prefix(1)) {
        const std::string_view part = path.substr(0, path.find('/'));
        if (!decode(part, false, request.parts.emplace_back())) return false;
        path.remove_prefix(part.size());
        if (path.empty()) break;
    }
    while (!target.empty()) {
        std::string_view value = take_until(target, '&');
        if (value.empty()) continue;
        auto& [name, decoded] = request.query.emplace_back();
        if (!decode(take_until(value, '='), true, name) || !decode(value, true, decoded)) return false;
    }
    return true;
}

std::string_view view(boost::beast::string_view text) {
    return {text.data(), text.size()};
}

Parsed refused(int status, std::string message) {
    return {.status = status, .message = std::move(message), .request = {}};
}

} // namespace

Parsed parse_request(std::string_view bytes, size_t most_bytes) {
    bytes = bytes.substr(0, most_bytes);
    http::request_parser<http::empty_body> parser;
    parser.header_limit(static_cast<uint32_t>(most_bytes) + 1); // ours is for line and fields together
    parser.body_limit(any_length);
    error_code error;
    size_t used = 0;
    while (!parser.is_header_done() && !error)
        used += parser.put(boost::asio::buffer(bytes.data() + used, bytes.size() - used), error);
    if (error == http::error::need_more) {
        if (bytes.size() < most_bytes) return {};
        const std::string most = " is longer than " + std::to_string(most_bytes) + " bytes";
        if (bytes.find('\n') == bytes.npos) return refused(414, "the request's line" + most);
        return refused(431, "the request's head" + most);
    }
    if (error) return refused(400, "this is no HTTP request: " + error.message());

    const auto& read = parser.get();
    Parsed parsed;
    Request& request = parsed.request;
    const auto refuse = [&parsed](int status, const char* why) { // the answer to HEAD has no body
        parsed.status = status;
        parsed.message = why;
        return parsed;
    };
    request.version = read.version();
    request.method = view(read.method_string());
    request.host = view(read[http::field::host]);
    if (request.method != "GET" && request.method != "HEAD") return refuse(405, "only GET and HEAD are allowed");
    for (const auto& field : read) {
        if (field.name() == http::field::accept)
            request.accept.append(request.accept.empty() ? "" : ", ").append(view(field.value()));
    }
    if (read.count(http::field::host) > 1) return refuse(400, "the request has more than one Host");
    if (parser.chunked() || parser.content_length().value_or(0) != 0)
        return refuse(413, "a request must not have a body");
    const std::string_view target = view(read.target());
    if (!target.starts_with('/')) return refuse(400, "the request's target must begin with /");
    if (!decode_target(target, request)) return refuse(400, "the request's target has a bad percent code");
    parsed.status = 200;
    return parsed;
}

std::string error_body(int status, std::string_view message) {
    std::string body = R"({"error":{"status":)" + std::to_string(status) + R"(,"message":)";
    pd_views::put_json_string(body, message);
    return body + "}}\n";
}

std::string percent_encoded(std::string_view text) {
    constexpr std::string_view plain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";
    std::string out;
    for (const char letter : text) {
        if (plain.find(letter) != plain.npos) {
            out += letter;
            continue;
        }
        char code[4];
        std::snprintf(code, sizeof code, "%%%02X", static_cast<unsigned>(static_cast<unsigned char>(letter)));
        out += code;
    }
    return out;
}

std::string_view field_of(const Fields& fields, std::string_view name) {
    for (const auto& [each, value] : fields)
        if (boost::beast::iequals(each, boost::beast::string_view(name.data(), name.size()))) return value;
    return {};
}

// ---- Replies

namespace {

constexpr size_t chunk_bytes = 65536;

// Waits until the socket can be read or written. 0 if it can, else ETIMEDOUT, or ECANCELED if the server stops.
int wait_for(int fd, short events, int stop, int timeout_ms) {
    pollfd waits[] = {{fd, events, 0}, {stop, POLLIN, 0}}; // poll() ignores a negative descriptor
    for (;;) {
        const int ready = poll(waits, 2, timeout_ms);
        if (ready < 0 && errno == EINTR) continue;
        if (ready < 0) return errno;
        if (waits[1].revents != 0) return ECANCELED;
        return ready == 0 ? ETIMEDOUT : 0;
    }
}

// 0, or why not all was sent: what wait_for or the system says.
int send_all(int fd, std::string_view bytes, int stop, int timeout_ms) {
    while (!bytes.empty()) {
        const ssize_t sent = ::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent >= 0) {
            bytes.remove_prefix(static_cast<size_t>(sent));
        } else if (errno == EAGAIN) {
            if (const int error = wait_for(fd, POLLOUT, stop, timeout_ms)) return error;
        } else if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

// Line ends in a value would begin another field.
std::string one_line(std::string_view value) {
    std::string line(value);
    std::replace_if(
        line.begin(), line.end(), [](char letter) { return static_cast<unsigned char>(letter) < ' '; }, ' ');
    return line;
}

boost::beast::string_view beast(std::string_view text) {
    return {text.data(), text.size()};
}

std::string text_of(const http::response_header<>& header) {
    std::ostringstream out;
    out << header;
    return std::move(out).str();
}

http::response_header<> header_of(int status, std::string_view type, const Fields& headers) {
    http::response_header<> header;
    header.result(static_cast<unsigned>(status));
    header.set(http::field::content_type, beast(type));
    header.set(http::field::connection, "close");
    header.set(http::field::cache_control, "no-store");
    header.set("X-Content-Type-Options", "nosniff");
    for (const auto& [name, value] : headers)
        header.set(name, one_line(value));
    return header;
}

constexpr char json_type[] = "application/json";

std::string whole_answer(int status, std::string_view type, std::string_view body, const Fields& headers,
                         bool head_only) {
    auto header = header_of(status, type, headers);
    header.set(http::field::content_length, std::to_string(body.size()));
    return text_of(header).append(head_only ? "" : body);
}

} // namespace

// Each step of a slow client must come within the time-out. In the long run a client must take a least rate, because it
// keeps others from being answered.
void Reply::send(std::string_view bytes) {
    constexpr std::chrono::seconds grace{60};
    constexpr uint64_t least_per_second = 65536;
    const auto start = Clock::now();
    gone_ = gone_ || send_all(fd_, bytes, stop_, static_cast<int>(timeout_ms_)) != 0;
    waited_ += Clock::now() - start;
    sent_ += bytes.size();
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(waited_);
    gone_ = gone_ || (seconds > grace && sent_ / static_cast<uint64_t>(seconds.count()) < least_per_second);
    if (gone_) throw Gone();
    bytes_ += bytes.size();
}

void Reply::whole(int status, std::string_view type, std::string_view body, const Fields& headers) {
    begun_ = true;
    send(whole_answer(status, type, body, headers, head_only_));
}

void Reply::error(int status, std::string_view message, const Fields& headers) {
    whole(status, json_type, error_body(status, message), headers);
}

void Reply::begin(std::string_view type, std::string_view trailers, const Fields& headers) {
    auto header = header_of(200, type, headers);
    if (chunked_) {
        header.set(http::field::transfer_encoding, "chunked");
        if (!trailers.empty()) header.set(http::field::trailer, beast(trailers));
    }
    unsent_ = text_of(header);
    begun_ = true;
    if (!head_only_) return;
    send(unsent_);
    gone_ = true;
    throw Gone();
}

void Reply::write(std::string_view text) {
    while (!text.empty()) {
        const std::string_view part = text.substr(0, chunk_bytes - chunk_.size());
        chunk_ += part;
        text.remove_prefix(part.size());
        if (chunk_.size() < chunk_bytes) return;
        flush();
    }
}

void Reply::flush() {
    frame_chunk();
    check(); // a reader that keeps up never makes send() wait
    send(unsent_);
    unsent_.clear();
}

void Reply::end(const Fields& trailers) {
    frame_chunk();
    if (chunked_) {
        unsent_ += "0\r\n";
        for (const auto& [name, value] : trailers)
            unsent_.append(name).append(": ").append(one_line(value)).append("\r\n");
        unsent_ += "\r\n";
    }
    send(unsent_);
}

// Moves the chunk behind what is to be sent.
void Reply::frame_chunk() {
    if (chunk_.empty()) return;
    char size[24];
    std::snprintf(size, sizeof size, "%zx\r\n", chunk_.size());
    if (chunked_) unsent_ += size;
    unsent_ += chunk_;
    if (chunked_) unsent_ += "\r\n";
    chunk_.clear();
}

// A client that has only ended its side of the connection still reads.
void Reply::check() {
    pollfd waits[] = {{fd_, 0, 0}, {stop_, POLLIN, 0}};
    if (!gone_ && poll(waits, 2, 0) <= 0) return;
    gone_ = true;
    throw Gone();
}

// ---- The server

namespace {

struct BlockedSignals {
    BlockedSignals() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before);
    }
    ~BlockedSignals() {
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
    }
    sigset_t before;
};

} // namespace

class Server::Threads {
public:
    Threads(int listening, const Limits& limits, Admit admit, Handler handler);
    ~Threads();
    Load load() const {
        return {running_, requests_, refused_, bytes_sent_};
    }

private:
    // Answered on a thread. The accepting thread has the descriptor again when it is done.
    struct Client {
        Fd fd;
        std::atomic<bool> done = false;
        std::thread thread;
    };
    struct Guest {
        Fd fd;
        Clock::time_point until;
    };

    void accept_clients();
    void wait();
    void end_done();
    void take_new();
    void start(Fd fd);
    void refuse(Fd fd, const std::string& answer);
    void linger(Fd fd);
    void run(Client& client);
    Parsed read_request(int fd);
    void answer(int fd);

    static constexpr size_t most_guests = 64;
    static constexpr Milliseconds patience{100}; // how long clients wait until another is done
    static constexpr Milliseconds linger_time{1000};
    static constexpr Milliseconds pause_time{100};

    const int listening_;
    const Limits limits_;
    const Admit admit_;
    const Handler handler_;
    const std::string too_many_, not_admitted_; // answers, made while there is memory
    const Fd stop_, wake_;
    std::atomic<unsigned> running_ = 0;
    std::atomic<uint64_t> requests_ = 0, refused_ = 0, bytes_sent_ = 0;

    // Of the accepting thread.
    std::list<Client> clients_;
    std::list<Guest> waiting_;   // for a thread; the first comes first
    std::list<Guest> lingering_; // have their answer. Closing with unread bytes would reset the connection before they
                                 // read it
    std::vector<pollfd> polls_;
    Clock::time_point paused_until_; // after accept() failed, such as for want of descriptors

    std::thread thread_;
};

Server::Threads::Threads(int listening, const Limits& limits, Admit admit, Handler handler)
    : listening_(listening),
      limits_(limits),
      admit_(std::move(admit)),
      handler_(std::move(handler)),
      too_many_(whole_answer(503, json_type, error_body(503, "too many clients"), {}, false)),
      not_admitted_(
          whole_answer(403, json_type, error_body(403, "the socket's mode does not let your user ask"), {}, false)),
      stop_(opened(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd")),
      wake_(opened(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd")) {
    if (fcntl(listening, F_SETFL, O_NONBLOCK) != 0) fail(errno, "fcntl");
    polls_.reserve(most_guests + 4);
    const BlockedSignals blocked; // in the threads too: each inherits the mask of the thread that makes it
    thread_ = std::thread([this] { accept_clients(); });
}

Server::Threads::~Threads() {
    eventfd_write(stop_.get(), 1);
    thread_.join();
}

void Server::Threads::accept_clients() {
    for (;;) {
        wait();
        if (polls_[0].revents != 0) break;
        eventfd_t count;
        eventfd_read(wake_.get(), &count);
        try {
            const auto now = Clock::now();
            auto poll = polls_.begin() + 3;
            for (auto guest = lingering_.begin(); guest != lingering_.end(); ++poll) {
                char bytes[4096];
                const bool over = now >= guest->until ||
                                  (poll->revents != 0 && recv(guest->fd.get(), bytes, sizeof bytes, MSG_DONTWAIT) <= 0);
                guest = over ? lingering_.erase(guest) : std::next(guest);
            }
            end_done();
            while (!waiting_.empty() && (running_ < limits_.clients || now >= waiting_.front().until)) {
                Fd fd = std::move(waiting_.front().fd);
                waiting_.pop_front();
                if (running_ < limits_.clients)
                    start(std::move(fd));
                else
                    refuse(std::move(fd), too_many_);
            }
            if (polls_[2].revents != 0) take_new();
        } catch (...) { // no memory, or admit() threw: the client in hand was closed
        }
    }
    for (Client& client : clients_)
        client.thread.join();
}

// Until something happens or a time is over. The three descriptors are followed by those that linger.
void Server::Threads::wait() {
    const auto now = Clock::now();
    const bool paused = now < paused_until_;
    auto until = now + std::chrono::hours(1);
    if (paused) until = paused_until_;
    if (!waiting_.empty()) until = std::min(until, waiting_.front().until);
    if (!lingering_.empty()) until = std::min(until, lingering_.front().until);
    polls_.assign({{stop_.get(), POLLIN, 0}, {wake_.get(), POLLIN, 0}, {paused ? -1 : listening_, POLLIN, 0}});
    for (const Guest& guest : lingering_)
        polls_.push_back({guest.fd.get(), POLLIN, 0});
    if (poll(polls_.data(), polls_.size(), milliseconds_until(until)) >= 0) return;
    for (pollfd& each : polls_) // interrupted
        each.revents = 0;
}

void Server::Threads::end_done() {
    for (auto client = clients_.begin(); client != clients_.end();) {
        if (!client->done) {
            ++client;
            continue;
        }
        client->thread.join();
        Fd fd = std::move(client->fd);
        client = clients_.erase(client);
        linger(std::move(fd));
    }
}

void Server::Threads::take_new() {
    for (int i = 0; i < 16; ++i) { // others get their turn
        Fd fd(accept4(listening_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
        if (!fd) {
            if (errno != EAGAIN && errno != EINTR && errno != ECONNABORTED) paused_until_ = Clock::now() + pause_time;
            return;
        }
        if (admit_ && !admit_(fd.get()))
            refuse(std::move(fd), not_admitted_);
        else if (running_ < limits_.clients && waiting_.empty())
            start(std::move(fd));
        else if (waiting_.size() < most_guests)
            waiting_.push_back({std::move(fd), Clock::now() + patience});
        else
            refuse(std::move(fd), too_many_);
    }
}

void Server::Threads::start(Fd fd) {
    Client& client = clients_.emplace_back();
    client.fd = std::move(fd);
    ++running_;
    try {
        client.thread = std::thread([this, &client] { run(client); });
    } catch (...) {
        --running_;
        fd = std::move(client.fd);
        clients_.pop_back();
        refuse(std::move(fd), too_many_);
    }
}

void Server::Threads::refuse(Fd fd, const std::string& answer) {
    ++refused_;
    // A new connection has room for it.
    const ssize_t sent = ::send(fd.get(), answer.data(), answer.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent > 0) bytes_sent_ += static_cast<uint64_t>(sent);
    shutdown(fd.get(), SHUT_WR);
    linger(std::move(fd));
}

void Server::Threads::linger(Fd fd) {
    if (lingering_.size() >= most_guests) lingering_.pop_front();
    lingering_.push_back({std::move(fd), Clock::now() + linger_time});
}

void Server::Threads::run(Client& client) {
    try {
        answer(client.fd.get());
    } catch (...) { // Gone, or no memory for an answer
    }
    shutdown(client.fd.get(), SHUT_WR);
    --running_;
    client.done = true;
    eventfd_write(wake_.get(), 1);
}

Parsed Server::Threads::read_request(int fd) {
    const auto deadline = Clock::now() + Milliseconds(limits_.timeout_ms);
    std::string bytes;
    for (;;) {
        if (Parsed parsed = parse_request(bytes, limits_.request_bytes); parsed.status != 0) return parsed;
        const int left = milliseconds_until(deadline);
        const int error = left == 0 ? ETIMEDOUT : wait_for(fd, POLLIN, stop_.get(), left);
        if (error == ETIMEDOUT)
            return refused(408, "no whole request came within " + std::to_string(limits_.timeout_ms) + " ms");
        if (error != 0) throw Gone();
        char more[4096];
        const ssize_t got = recv(fd, more, std::min(sizeof more, limits_.request_bytes - bytes.size()), MSG_DONTWAIT);
        if (got == 0 && !bytes.empty()) return refused(400, "the request ends early");
        if (got == 0 || (got < 0 && errno != EAGAIN && errno != EINTR)) throw Gone();
        if (got > 0) bytes.append(more, static_cast<size_t>(got));
    }
}

void Server::Threads::answer(int fd) {
    const Parsed parsed = read_request(fd);
    Reply reply(fd, stop_.get(), limits_.timeout_ms, bytes_sent_);
    reply.head_only_ = parsed.request.method == "HEAD";
    if (parsed.status == 405) return reply.error(405, parsed.message, {{"Allow", "GET, HEAD"}});
    if (parsed.status != 200) return reply.error(parsed.status, parsed.message);
    ++requests_;
    reply.chunked_ = parsed.request.version >= 11;
    try {
        handler_(parsed.request, reply);
        if (!reply.begun()) reply.error(500, "there is no answer");
    } catch (const std::exception& failure) {
        if (!reply.begun()) reply.error(500, failure.what());
    }
}

Server::Server(int listening, const Limits& limits, Admit admit, Handler handler)
    : threads_(std::make_unique<Threads>(listening, limits, std::move(admit), std::move(handler))) {}

Server::~Server() = default;

Server::Load Server::load() const {
    return threads_->load();
}

// ---- The client

namespace {

class AnswerParser : public http::basic_parser<false> {
public:
    using Body = std::function<void(const Answer&, std::string_view)>;
    explicit AnswerParser(const Body& body) : body_(body) {}
    Answer answer;

private:
    using Text = boost::beast::string_view;
    void on_request_impl(http::verb, Text, Text, int, error_code&) override {}
    void on_response_impl(int status, Text, int, error_code&) override {
        answer.status = status;
    }
    void on_field_impl(http::field, Text name, Text value, error_code&) override {
        (in_body_ ? answer.trailers : answer.headers).emplace_back(name, value);
    }
    void on_header_impl(error_code&) override {
        in_body_ = true;
        answer.type = field_of(answer.headers, "Content-Type");
    }
    void on_body_init_impl(const boost::optional<uint64_t>&, error_code&) override {}
    size_t on_body_impl(Text text, error_code&) override {
        body_(answer, view(text));
        return text.size();
    }
    void on_chunk_header_impl(uint64_t, Text, error_code&) override {}
    size_t on_chunk_body_impl(uint64_t, Text text, error_code& error) override {
        return on_body_impl(text, error);
    }
    void on_finish_impl(error_code&) override {}

    const Body& body_;
    bool in_body_ = false;
};

// 0, or ETIMEDOUT, or what the system says.
int wait_for_answer(int fd, Milliseconds timeout, const std::function<void()>& check) {
    constexpr Milliseconds slice{200};
    for (Milliseconds waited{0}; timeout == Milliseconds(0) || waited < timeout; waited += slice) {
        const int error = wait_for(fd, POLLIN, -1, static_cast<int>(slice.count()));
        if (error != ETIMEDOUT) return error;
        if (check) check();
    }
    return ETIMEDOUT;
}

} // namespace

Answer get(const std::string& socket_path, const std::string& target, const std::string& accept,
           const std::function<void(const Answer&, std::string_view)>& body, Milliseconds timeout,
           const std::function<void()>& check) {
    const Fd fd = unix_socket(0);
    const timeval bound{.tv_sec = timeout.count() / 1000, .tv_usec = timeout.count() % 1000 * 1000}; // 0: none
    setsockopt(fd.get(), SOL_SOCKET, SO_SNDTIMEO, &bound, sizeof bound);
    if (const int error = connect_to(fd, address_of(socket_path)))
        fail(error == EAGAIN ? ETIMEDOUT : error, socket_path);

    const int wait_ms = timeout.count() == 0 ? -1 : static_cast<int>(timeout.count());
    http::request<http::empty_body> request(http::verb::get, target, 11);
    request.set(http::field::host, "localhost");
    request.set(http::field::accept, accept);
    request.set(http::field::connection, "close");
    std::ostringstream head;
    head << request.base();
    // A server that refuses us may have closed already. Its answer says why.
    if (send_all(fd.get(), head.str(), -1, wait_ms) == ETIMEDOUT) fail(ETIMEDOUT, socket_path);

    constexpr size_t most_unparsed = 1 << 20; // a head, or trailers
    AnswerParser parser(body);
    parser.eager(true);
    parser.body_limit(any_length);
    parser.header_limit(most_unparsed);
    std::string bytes;
    std::vector<char> more(chunk_bytes);
    while (!parser.is_done()) {
        if (const int error = wait_for_answer(fd.get(), timeout, check)) fail(error, socket_path);
        const ssize_t got = recv(fd.get(), more.data(), more.size(), 0);
        if (got < 0 && errno == EINTR) continue;
        error_code error;
        if (got > 0) {
            bytes.append(more.data(), static_cast<size_t>(got));
            bytes.erase(0, parser.put(boost::asio::buffer(bytes), error));
            if (error == http::error::need_more && bytes.size() < most_unparsed) error = {};
        } else if (parser.got_some()) {
            parser.put_eof(error);
        }
        if (got <= 0 && !parser.is_done()) throw std::runtime_error("the agent's answer ended early");
        if (error) throw std::runtime_error("the agent's answer is broken: " + error.message());
    }
    return std::move(parser.answer);
}

} // namespace console
