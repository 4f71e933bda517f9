// A small web server on loopback in front of an agent's socket, because browsers and monitors don't know Unix sockets.
#include <chrono>
#include <csignal>
#include <iostream>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include <arpa/inet.h>

#include "console/http.h"
#include "console/page.h"
#include "console/trailers.h"
#include "pd_show/agent.h"
#include "pd_show/messages.h"
#include "views/problem.h"

namespace pd_show {
namespace {

using pd_views::Fault;
using pd_views::Problem;

struct Address {
    std::string host; // without brackets
    uint16_t port;
};

[[noreturn]] void refuse_address(const std::string& typed) {
    throw Problem(Fault::bad_value,
                  "--listen takes an address and a port, such as 127.0.0.1:8080 or [::1]:8080, not \"" + typed + "\"");
}

Address parse_address(const std::string& typed) {
    const size_t colon = typed.rfind(':');
    if (colon == std::string::npos || colon + 1 == typed.size() || typed.size() - colon > 6) refuse_address(typed);
    std::string host = typed.substr(0, colon);
    unsigned port = 0;
    for (const char digit : typed.substr(colon + 1)) {
        if (digit < '0' || digit > '9') refuse_address(typed);
        port = port * 10 + static_cast<unsigned>(digit - '0');
    }
    if (port > UINT16_MAX) refuse_address(typed);
    const bool has_brackets = host.size() > 2 && host.front() == '[' && host.back() == ']';
    if (has_brackets) host = host.substr(1, host.size() - 2);
    in6_addr parsed;
    const int family = has_brackets ? AF_INET6 : AF_INET;
    if (inet_pton(family, host.c_str(), &parsed) != 1) refuse_address(typed);
    char usual[INET6_ADDRSTRLEN] = ""; // the spelling that browsers send
    host = inet_ntop(family, &parsed, usual, sizeof usual);
    return {host, static_cast<uint16_t>(port)};
}

bool is_loopback(const std::string& host) {
    in_addr address{};
    if (inet_pton(AF_INET, host.c_str(), &address) == 1) return ntohl(address.s_addr) >> 24 == 127;
    return host == "::1";
}

bool is_numeric(const std::string& host) {
    in6_addr parsed;
    const bool has_brackets = host.size() > 2 && host.front() == '[' && host.back() == ']';
    return has_brackets ? inet_pton(AF_INET6, host.substr(1, host.size() - 2).c_str(), &parsed) == 1
                        : inet_pton(AF_INET, host.c_str(), &parsed) == 1;
}

// The address as a URL has it.
std::string url_host(const Address& address) {
    return address.host.find(':') != std::string::npos ? "[" + address.host + "]" : address.host;
}

// Whether the Host header names this server. A page from elsewhere whose name leads to this address has another header.
// The port doesn't matter: a tunnel may lead here from another one.
bool names_us(std::string header, const Address& address) {
    for (char& letter : header)
        if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
    const size_t colon = header.rfind(':');
    const bool has_port = colon != std::string::npos && header.find(']', colon) == std::string::npos;
    const std::string host = header.substr(0, has_port ? colon : header.size());
    const bool is_any = address.host == "0.0.0.0" || address.host == "::"; // this machine has other addresses
    return host == "localhost" || host == url_host(address) || (is_any && is_numeric(host));
}

// The target of a request, for the agent.
std::string target_of(const console::Request& request) {
    std::string target;
    for (const std::string& part : request.parts)
        target += "/" + console::percent_encoded(part);
    const char* before = "?";
    for (const auto& [name, value] : request.query)
        target += std::exchange(before, "&") + console::percent_encoded(name) + "=" + console::percent_encoded(value);
    return target;
}

void pass_on(const std::string& socket, const console::Request& request, console::Reply& reply) {
    std::string error_body;
    const bool is_page = request.path == "/";
    const console::Answer answer = console::get(
        socket, target_of(request), request.accept,
        [&](const console::Answer& head, std::string_view text) {
            if (head.status != 200) {
                error_body += text;
                return;
            }
            if (!reply.begun())
                reply.begin(head.type, console::trailer_names, is_page ? console::page_headers : console::Fields());
            reply.write(text);
            reply.flush();
        },
        patience, [&reply] { reply.check(); });
    if (reply.begun())
        reply.end(answer.trailers);
    else
        reply.whole(answer.status, answer.type, error_body);
}

// Fails now if no agent answers.
void require_agent(const std::string& socket) {
    std::string body;
    const console::Answer answer =
        ask(socket, "/v1", [&](const console::Answer&, std::string_view text) { body += text; });
    if (answer.status != 200) throw Problem(Fault::failed, socket + ": " + message_of(body));
}

console::TcpSocket listen(const Address& address) {
    try {
        return console::listen_tcp(address.host, address.port);
    } catch (const std::system_error& error) {
        throw Problem(Fault::failed,
                      url_host(address) + ":" + std::to_string(address.port) + ": " + error.code().message());
    }
}

} // namespace

int serve(const Arguments& arguments) {
    Address address = parse_address(arguments.listen.value_or("127.0.0.1:8080"));
    if (!is_loopback(address.host) && !arguments.allow_remote)
        throw Problem(Fault::bad_value, address.host + " is not a loopback address; --allow-remote permits it");
    const std::string& socket = *arguments.agent;
    require_agent(socket);

    // The server's threads inherit the blocked signals.
    sigset_t ends;
    sigemptyset(&ends);
    sigaddset(&ends, SIGINT);
    sigaddset(&ends, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &ends, nullptr);

    const console::TcpSocket listening = listen(address);
    address.port = listening.port;
    const auto answer = [&](const console::Request& request, console::Reply& reply) {
        if (!names_us(request.host, address)) return reply.error(403, "the Host header doesn't name this server");
        try {
            pass_on(socket, request, reply);
        } catch (const std::exception& error) {
            if (reply.begun()) throw;
            reply.error(502, std::string("the agent doesn't answer: ") + error.what());
        }
    };
    const console::Server server(
        listening.fd.get(), {.clients = 32}, [](int) { return true; }, answer);
    std::cout << "http://" << url_host(address) << ":" << address.port << "/" << std::endl;
    int signal = 0;
    sigwait(&ends, &signal);
    return exit_shown;
}

} // namespace pd_show
