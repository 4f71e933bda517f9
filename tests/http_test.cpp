// HTTP over sockets: what happens to a socket's path, to requests of all kinds, and to clients that are slow, gone or
// too many.
#include "console/http.h"

#include <atomic>
#include <barrier>
#include <chrono>
#include <filesystem>
#include <system_error>
#include <thread>

#include <arpa/inet.h>
#include <grp.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

using namespace console;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// A folder that goes with the test.
struct Folder {
    std::filesystem::path path = [] {
        char name[] = "/tmp/http_test.XXXXXX";
        return std::string(mkdtemp(name));
    }();
    ~Folder() {
        std::filesystem::remove_all(path);
    }
    std::string operator/(const std::string& name) const {
        return path / name;
    }
    std::vector<std::string> names() const {
        std::vector<std::string> all;
        for (const auto& entry : std::filesystem::directory_iterator(path))
            all.push_back(entry.path().filename());
        return all;
    }
};

int error_of(const std::function<void()>& action) {
    try {
        action();
    } catch (const std::system_error& error) {
        return error.code().value();
    }
    return 0;
}

sockaddr_un address_of(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

Fd connected(const std::string& path) {
    Fd fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const sockaddr_un address = address_of(path);
    if (connect(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) return Fd();
    return fd;
}

// A socket's file at which nobody listens.
void leave_stale(const std::string& path) {
    const Fd fd(socket(AF_UNIX, SOCK_STREAM, 0));
    const sockaddr_un address = address_of(path);
    ASSERT_EQ(bind(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
}

void put(const Fd& fd, std::string_view text) {
    ASSERT_EQ(send(fd.get(), text.data(), text.size(), MSG_NOSIGNAL), static_cast<ssize_t>(text.size()));
}

// Until the other side ends; a reset gives "RESET".
std::string rest_of(const Fd& fd) {
    std::string all;
    char bytes[65536];
    for (;;) {
        const ssize_t got = recv(fd.get(), bytes, sizeof bytes, 0);
        if (got == 0) return all;
        if (got < 0) return all + "RESET";
        all.append(bytes, static_cast<size_t>(got));
    }
}

std::string first_line(const std::string& answer) {
    return answer.substr(0, answer.find("\r\n"));
}

TEST(HttpSocket, HasItsModeAndRemovesItsFile) {
    const Folder folder;
    const std::string path = folder / "console";
    for (const mode_t mask : {0u, 077u}) {
        const mode_t before = umask(mask);
        {
            const ListeningSocket socket(path, 0660);
            struct stat made;
            EXPECT_EQ(stat(path.c_str(), &made), 0);
            EXPECT_EQ(made.st_mode, S_IFSOCK | 0660u);
            EXPECT_EQ(socket.gid(), made.st_gid);
            EXPECT_EQ(folder.names(), std::vector<std::string>{"console"});
            EXPECT_TRUE(connected(path));
        }
        umask(before);
        EXPECT_TRUE(folder.names().empty());
    }
    // The longest path of all, in a folder where no longer name would fit.
    const std::string deep = folder / std::string(104 - folder.path.native().size(), 'x');
    std::filesystem::create_directory(deep);
    EXPECT_EQ(error_of([&] { const ListeningSocket socket(deep + "/c", 0600); }), 0);
    EXPECT_TRUE(std::filesystem::is_empty(deep));
    // Another's file stays.
    {
        const ListeningSocket socket(path, 0600);
        std::filesystem::remove(path);
        leave_stale(path);
    }
    EXPECT_TRUE(std::filesystem::exists(path));
}

TEST(HttpSocket, RefusesWhatItMustNotReplace) {
    const Folder folder;
    const auto error_at = [&](const std::string& path) {
        return error_of([&] { const ListeningSocket socket(path, 0600); });
    };
    const ListeningSocket living(folder / "living", 0600);
    EXPECT_EQ(error_at(folder / "living"), EADDRINUSE);
    EXPECT_TRUE(connected(folder / "living"));
    leave_stale(folder / "stale");
    EXPECT_EQ(error_at(folder / "stale"), 0);
    std::filesystem::create_directory(folder / "folder");
    EXPECT_EQ(error_at(folder / "folder"), ENOTSOCK);
    leave_stale(folder / "stale");
    std::filesystem::create_symlink("stale", folder / "link");
    EXPECT_EQ(error_at(folder / "link"), ENOTSOCK);
    EXPECT_EQ(error_at(folder / "no/console"), ENOENT);
    EXPECT_EQ(error_at(folder / std::string(100, 'x')), ENAMETOOLONG);
    EXPECT_EQ(error_at(""), EINVAL);
    auto names = folder.names();
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"folder", "link", "living", "stale"}));
}

TEST(HttpSocket, OneOfManyStartersWins) {
    constexpr int starters = 4;
    for (int round = 0; round < 100; ++round) {
        const Folder folder;
        const std::string path = folder / "console";
        if (round % 2 == 0) leave_stale(path);
        std::unique_ptr<ListeningSocket> sockets[starters];
        std::atomic<int> made = 0;
        std::barrier start(starters);
        {
            std::vector<std::jthread> threads;
            for (auto& socket : sockets) {
                threads.emplace_back([&] {
                    start.arrive_and_wait();
                    const int error = error_of([&] { socket = std::make_unique<ListeningSocket>(path, 0600); });
                    EXPECT_EQ(error, socket ? 0 : EADDRINUSE);
                    if (socket) ++made;
                });
            }
        }
        ASSERT_EQ(made, 1);
        EXPECT_TRUE(connected(path));
        EXPECT_EQ(folder.names().size(), 1u);
    }
}

TEST(HttpPeer, TakesOwnUserOrTheModesGuests) {
    const Folder folder;
    const ListeningSocket socket(folder / "console", 0666);
    const Fd own = connected(folder / "console");
    EXPECT_TRUE(may_use(Fd(accept(socket.fd(), nullptr, nullptr)).get(), 0600, 0));
    if (geteuid() != 0) GTEST_SKIP() << "another user needs root";
    ASSERT_EQ(chmod(folder.path.c_str(), 0755), 0);
    const pid_t child = fork(); // another user, whose groups are 54322 and 54323
    if (child == 0) {
        const gid_t further = 54323;
        if (setgroups(1, &further) != 0 || setgid(54322) != 0 || setuid(54321) != 0) _exit(1);
        const Fd fd = connected(folder / "console");
        char byte;
        _exit(fd && read(fd.get(), &byte, 1) == 0 ? 0 : 1);
    }
    pollfd wait = {socket.fd(), POLLIN, 0};
    ASSERT_EQ(poll(&wait, 1, 10'000), 1);
    {
        const Fd peer(accept(socket.fd(), nullptr, nullptr));
        EXPECT_FALSE(may_use(peer.get(), 0600, 54322));
        EXPECT_TRUE(may_use(peer.get(), 0660, 54322));
        EXPECT_TRUE(may_use(peer.get(), 0660, 54323));
        EXPECT_FALSE(may_use(peer.get(), 0660, 54324));
        EXPECT_FALSE(may_use(peer.get(), 0644, 54322));
        EXPECT_TRUE(may_use(peer.get(), 0602, 54324));
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}

// A server whose paths name what the handler does.
struct Console {
    explicit Console(Limits limits = {}, bool admits = true)
        : server(std::make_unique<Server>(
              socket.fd(), limits, [admits](int) { return admits; },
              [this](const Request& request, Reply& reply) { answer(request, reply); })) {}

    void answer(const Request& request, Reply& reply) {
        try {
            if (request.path.starts_with("/echo")) {
                std::string text = request.path + "|" + request.accept + "|" + request.host;
                for (const auto& [name, value] : request.query)
                    text.append("|").append(name).append("=").append(value);
                reply.whole(200, "text/plain", text, {{"X-More", "one\r\ntwo"}});
            } else if (request.path == "/lines") {
                reply.begin("text/plain", "Status, Complaint");
                for (size_t i = 0, count = std::stoul(request.query.at(0).second); i < count; ++i)
                    reply.write("line " + std::to_string(i) + "\n");
                reply.end({{"Status", "1"}, {"Complaint", "a\nb"}, {"Complaint", "c"}});
            } else if (request.path == "/work") {
                for (++working;; std::this_thread::sleep_for(1ms))
                    reply.check();
            } else if (request.path == "/forever" || request.path == "/breaks") {
                reply.begin("text/plain");
                for (++working;;) {
                    reply.write(std::string(request.query.empty() ? 100'000 : 20'000, 'x'));
                    if (request.path == "/breaks") throw std::runtime_error("broken");
                    if (!request.query.empty()) std::this_thread::sleep_for(1ms); // the reader keeps up
                }
            } else if (request.path == "/fails") {
                throw std::runtime_error("a \"failure\"");
            }
        } catch (const Gone&) {
            ++gone;
            throw;
        }
    }

    Fd asked(const std::string& target) const {
        Fd fd = connected(path);
        put(fd, "GET " + target + " HTTP/1.1\r\n\r\n");
        return fd;
    }
    std::string answer_to(const std::string& request) const {
        const Fd fd = connected(path);
        put(fd, request);
        return rest_of(fd);
    }

    Folder folder;
    std::string path = folder / "console";
    ListeningSocket socket{path, 0600};
    std::atomic<int> working = 0, gone = 0; // answers that began to work, or ended by Gone
    std::unique_ptr<Server> server;
};

// Waits for another thread.
bool soon(const std::function<bool()>& holds) {
    for (const auto end = Clock::now() + 20s; Clock::now() < end; std::this_thread::sleep_for(1ms))
        if (holds()) return true;
    return false;
}

TEST(HttpRequests, AreAnsweredOrRefused) {
    const Console console;
    const std::string get = "GET ", http = " HTTP/1.1\r\n", end = "\r\n\r\n";
    const auto plain = [&](const std::string& target) { return get + target + http + "\r\n"; };
    const struct {
        std::string request;
        int status;
        std::string has;
    } rows[] = {
        {plain("/echo/a%20b+c?x=1+2&&y&z=%2b%C3%A9=&"), 200, "\r\n\r\n/echo/a b+c|||x=1 2|y=|z=+\xC3\xA9="},
        {"GET /echo HTTP/1.0\r\nHost: h\r\nAccept: a\r\naccept: b\r\n\r\nmore", 200, "\r\n\r\n/echo|a, b|h"},
        {"HEAD /echo HTTP/1.1\r\nContent-Length: 0\r\n\r\n", 200, "Content-Length: 7\r\n"},
        {plain("/echo"), 200, "X-More: one  two\r\n"},
        {plain("/echo"), 200, "Connection: close\r\nCache-Control: no-store\r\nX-Content-Type-Options: nosniff\r\n"},
        {plain("/fails"), 500, R"({"error":{"status":500,"message":"a \"failure\""}})"},
        {plain("/forgets"), 500, R"({"error":{"status":500,"message":"there is no answer"}})"},
        {"POST /echo HTTP/1.1\r\nContent-Length: 5\r\n\r\nhello", 405, "Allow: GET, HEAD\r\n"},
        {"OPTIONS * HTTP/1.1\r\n\r\n", 405, ""},
        {"GET /echo HTTP/1.1\r\nContent-Length: 5\r\n\r\nhello", 413, "body"},
        {"GET /echo HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n", 413, "body"},
        {"GET /echo HTTP/1.1\r\nHost: a\r\nHost: b\r\n\r\n", 400, "Host"},
        {plain("/%4"), 400, "percent"},
        {plain("/%G0"), 400, "percent"},
        {plain("/a%00b"), 400, "percent"},
        {plain("/a?b=%00"), 400, "percent"},
        {plain("http://host/echo"), 400, "must begin with /"},
        {"GET /echo HTTP/1.1\r\nno colon\r\n\r\n", 400, "no HTTP request"},
        {"GET /echo HTTP/2.0\r\n\r\n", 400, "no HTTP request"},
        {"\x16\x03\x01 TLS\r\n\r\n", 400, "no HTTP request"},
        {plain("/" + std::string(100'000, 'x')), 414, "4096 bytes"},
        {get + "/echo" + http + "A: " + std::string(100'000, 'x') + end, 431, "4096 bytes"},
    };
    for (const auto& [request, status, has] : rows) {
        const std::string answer = console.answer_to(request);
        SCOPED_TRACE(request.substr(0, 80) + " -> " + answer);
        EXPECT_TRUE(answer.starts_with("HTTP/1.1 " + std::to_string(status) + " "));
        EXPECT_NE(answer.find(has), answer.npos);
        EXPECT_EQ(answer.find("RESET"), answer.npos);
        const std::string error = R"({"error":{"status":)" + std::to_string(status) + ",";
        EXPECT_EQ(answer.find(error) != answer.npos, status != 200);
        if (request.starts_with("HEAD")) {
            EXPECT_TRUE(answer.ends_with(end));
        }
    }
    EXPECT_TRUE(console.answer_to(plain("/breaks")).ends_with("xxx\r\n")) << "must not look complete";
}

TEST(HttpRequests, EndInTime) {
    const Console console({.timeout_ms = 300});
    const Fd silent = connected(console.path), slow = connected(console.path), ended = connected(console.path);
    put(ended, "GET /ec");
    shutdown(ended.get(), SHUT_WR);
    EXPECT_EQ(first_line(rest_of(ended)), "HTTP/1.1 400 Bad Request");
    // Each byte is in time, but not all.
    pollfd answered = {slow.get(), POLLIN, 0};
    put(slow, "GET /");
    const auto begin = Clock::now();
    while (poll(&answered, 1, 50) == 0 && Clock::now() - begin < 10s)
        put(slow, "x");
    EXPECT_LT(Clock::now() - begin, 5s);
    EXPECT_EQ(first_line(rest_of(slow)), "HTTP/1.1 408 Request Timeout");
    EXPECT_EQ(first_line(rest_of(silent)), "HTTP/1.1 408 Request Timeout");
    EXPECT_EQ(console.server->load().requests, 0u);
}

TEST(HttpStreams, ComeInChunksWithTrailers) {
    const Console console;
    std::string all;
    for (int i = 0; i < 50'000; ++i)
        all += "line " + std::to_string(i) + "\n";
    std::string body;
    const auto collect = [&](const Answer& answer, std::string_view text) {
        EXPECT_EQ(answer.status, 200);
        EXPECT_EQ(answer.type, "text/plain");
        body += text;
    };
    const Answer answer = get(console.path, "/lines?count=50000", "text/*", collect);
    EXPECT_TRUE(body == all);
    EXPECT_EQ(answer.trailers, (Fields{{"Status", "1"}, {"Complaint", "a b"}, {"Complaint", "c"}}));
    EXPECT_EQ(field_of(answer.headers, "trailer"), "Status, Complaint");

    const std::string old = console.answer_to("GET /lines?count=50000 HTTP/1.0\r\n\r\n");
    EXPECT_TRUE(old.substr(old.find("\r\n\r\n") + 4) == all); // comparing long texts line by line takes minutes
    const std::string head = console.answer_to("HEAD /lines?count=50000 HTTP/1.1\r\n\r\n");
    EXPECT_TRUE(head.starts_with("HTTP/1.1 200 ") && head.find("\r\n\r\n") == head.size() - 4) << head;

    // A client that says no more still reads.
    const Fd half = console.asked("/lines?count=50000");
    shutdown(half.get(), SHUT_WR);
    EXPECT_TRUE(rest_of(half).ends_with("\r\n0\r\nStatus: 1\r\nComplaint: a b\r\nComplaint: c\r\n\r\n"));
    EXPECT_EQ(console.server->load().requests, 4u);
    EXPECT_GT(console.server->load().bytes_sent, 3 * all.size());
}

TEST(HttpStreams, EndWithTheirReaders) {
    const Console console({.clients = 2, .timeout_ms = 300});
    {
        const Fd working = console.asked("/work"), reading = console.asked("/forever");
        ASSERT_TRUE(soon([&] { return console.working == 2; }));
        char byte;
        EXPECT_EQ(recv(reading.get(), &byte, 1, 0), 1);
    }
    EXPECT_TRUE(soon([&] { return console.gone == 2; }));
    const Fd idle = console.asked("/forever"); // reads nothing
    EXPECT_TRUE(soon([&] { return console.gone == 3; }));
    EXPECT_TRUE(soon([&] { return console.server->load().clients == 0; }));
}

TEST(HttpClients, AreLimited) {
    Console console({.clients = 2});
    std::vector<Fd> working(2);
    for (Fd& fd : working)
        fd = console.asked("/work");
    ASSERT_TRUE(soon([&] { return console.working == 2; }));
    std::vector<Fd> refused(100);
    for (Fd& fd : refused)
        fd = console.asked("/echo");
    for (size_t i = 0; i < refused.size(); i += 10) {
        const std::string answer = rest_of(refused[i]);
        EXPECT_EQ(first_line(answer), "HTTP/1.1 503 Service Unavailable") << answer;
        EXPECT_TRUE(answer.ends_with("{\"error\":{\"status\":503,\"message\":\"too many clients\"}}\n")) << answer;
    }
    EXPECT_TRUE(soon([&] { return console.server->load().refused == 100; }));
    // One that comes a moment before another ends is answered.
    const Fd next = console.asked("/echo");
    working.pop_back();
    EXPECT_EQ(first_line(rest_of(next)), "HTTP/1.1 200 OK");
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(get(console.path, "/echo", "*/*", [](auto&&...) {}).status, 200);
    EXPECT_TRUE(soon([&] { return console.server->load().clients == 1; }));
}

TEST(HttpClients, AreAdmitted) {
    const Console console({}, false);
    std::string body;
    const Answer answer =
        get(console.path, "/echo", "*/*", [&](const Answer&, std::string_view text) { body += text; });
    EXPECT_EQ(answer.status, 403);
    EXPECT_EQ(body.find(R"({"error":{"status":403,)"), 0u);
    EXPECT_EQ(console.server->load().refused, 1u);
}

TEST(HttpClients, WaitWhileDescriptorsLack) {
    const Console console;
    rlimit before;
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    const Fd early = connected(console.path), late = connected(console.path), free(dup(0));
    EXPECT_TRUE(soon([&] { return console.server->load().clients == 2; }));
    const Fd next(socket(AF_UNIX, SOCK_STREAM, 0));
    const rlimit none = {.rlim_cur = static_cast<rlim_t>(next.get()) + 1, .rlim_max = before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    const sockaddr_un address = address_of(console.path);
    EXPECT_EQ(connect(next.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    put(next, "GET /echo HTTP/1.1\r\n\r\n");
    timespec begin, end;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &begin);
    std::this_thread::sleep_for(400ms);
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &end);
    EXPECT_LT((end.tv_sec - begin.tv_sec) * 1000 + (end.tv_nsec - begin.tv_nsec) / 1'000'000, 200) << "it spins";
    EXPECT_EQ(console.server->load().clients, 2u);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(first_line(rest_of(next)), "HTTP/1.1 200 OK");
}

TEST(HttpServer, StopsAtOnce) {
    Console console({.clients = 4, .timeout_ms = 60'000});
    const Fd silent = connected(console.path), idle = console.asked("/forever"), working = console.asked("/work");
    const Fd reading = console.asked("/forever?slowly");
    std::string last_read;
    std::jthread reader([&] {
        char bytes[65536];
        for (ssize_t got; (got = recv(reading.get(), bytes, sizeof bytes, 0)) > 0;)
            last_read.assign(bytes, static_cast<size_t>(got));
    });
    ASSERT_TRUE(soon([&] { return console.working == 3 && console.server->load().clients == 4; }));
    const Fd waiting = connected(console.path);
    shutdown(working.get(), SHUT_WR);
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(console.gone, 0) << "who says no more still waits for the answer";
    const auto begin = Clock::now();
    console.server.reset();
    EXPECT_LT(Clock::now() - begin, 2s);
    EXPECT_EQ(console.gone, 3);
    reader.join();
    EXPECT_FALSE(last_read.ends_with("0\r\n\r\n"));
}

TEST(HttpServer, AnswersManyAtOnce) {
    Console console({.clients = 4});
    std::atomic<int> answered = 0;
    {
        std::vector<std::jthread> clients;
        clients.reserve(6);
        for (int i = 0; i < 6; ++i) {
            clients.emplace_back([&, i] {
                for (int turn = 0; turn < 30; ++turn) {
                    const std::string target = i % 2 == 0 ? "/lines?count=2000" : "/echo";
                    const Answer answer = get(
                        console.path, target, "*/*", [](auto&&...) {}, 20s);
                    answered += answer.status == 200 || answer.status == 503;
                    if (console.server->load().clients > 4) ADD_FAILURE() << "too many at once";
                }
            });
        }
    }
    EXPECT_EQ(answered, 180);
}

TEST(HttpSocket, ListensAtATcpAddress) {
    const TcpSocket listening = listen_tcp("127.0.0.1", 0);
    const Server server(listening.fd.get(), {}, {},
                        [](const Request& request, Reply& reply) { reply.whole(200, "text/plain", request.host); });
    const Fd fd(socket(AF_INET, SOCK_STREAM, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(listening.port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(connect(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    put(fd, "GET / HTTP/1.1\r\nHost: localhost\r\n\r\n");
    EXPECT_TRUE(rest_of(fd).ends_with("\r\n\r\nlocalhost"));
    EXPECT_EQ(error_of([&] { listen_tcp("127.0.0.1", listening.port); }), EADDRINUSE);
    EXPECT_EQ(error_of([] { listen_tcp("localhost", 0); }), EINVAL);
}

// What get() says of a server that answers these bytes.
std::string complaint_about(const std::string& bytes) {
    const Folder folder;
    const ListeningSocket listening(folder / "console", 0600);
    std::jthread server([&] {
        pollfd wait = {listening.fd(), POLLIN, 0};
        poll(&wait, 1, 10'000);
        const Fd fd(accept(listening.fd(), nullptr, nullptr));
        char request[4096];
        EXPECT_GT(recv(fd.get(), request, sizeof request, 0), 0);
        for (const char byte : bytes) // the smallest pieces, for a client that may be gone
            send(fd.get(), &byte, 1, MSG_NOSIGNAL);
    });
    try {
        get(
            folder / "console", "/", "*/*", [](auto&&...) {}, 20s);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "";
}

TEST(HttpGet, ComplainsAboutAnswersThatAreNone) {
    const std::string chunked = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nhello\r\n";
    const std::string early = "the agent's answer ended early", broken = "the agent's answer is broken: ";
    EXPECT_EQ(complaint_about(chunked + "0\r\nA: b\r\n\r\n"), "");
    for (const std::string& bytes : {std::string(), std::string("HTTP/1.1 2"), chunked, chunked + "0\r\nA: b\r\n",
                                     std::string("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nhell")}) {
        EXPECT_EQ(complaint_about(bytes), early) << bytes;
    }
    EXPECT_EQ(complaint_about(chunked + "x\r\n\r\n").find(broken), 0u);
    EXPECT_EQ(complaint_about("SSH-2.0\r\n\r\n").find(broken), 0u);

    const Folder folder;
    const auto error_at = [&](const std::string& path) {
        return error_of([&] {
            get(
                path, "/", "*/*", [](auto&&...) {}, 50ms);
        });
    };
    const ListeningSocket silent(folder / "silent", 0600);
    EXPECT_EQ(error_at(folder / "silent"), ETIMEDOUT);
    EXPECT_EQ(error_at(folder / "none"), ENOENT);
    leave_stale(folder / "stale");
    EXPECT_EQ(error_at(folder / "stale"), ECONNREFUSED);
}

} // namespace
