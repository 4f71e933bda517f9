/*
 * A console for an agent: a Unix socket that shows the tables of the switch that the agent programs, to pd-show, curl, a
 * browser or a monitor. It only reads: nothing that comes over the socket changes a table, a counter or the state of the
 * driver.
 *
 *   vl_pd_console* console;
 *   const vl_pd_console_options options = {.socket_path = "/run/agent/console", .session = session};
 *   const int error = vl_pd_console_start(&options, &console);
 *   ...
 *   vl_pd_console_stop(console);
 *
 * The console works with any driver. It leaves out what it doesn't know of one, such as the words of its statuses.
 * The README says what can be asked.
 *
 * Threads: the console has a thread that accepts clients, and one for each client. They block all signals, and they call
 * functions of the library that only read, at any time between start and stop. So start the console after the library's
 * init() and after the device was added, and stop it before cleanup(). Start and stop may be called on any thread.
 * After a fork, the console belongs to the parent. An agent that becomes a daemon must start the console
 * after its last fork.
 */
#ifndef VL_PD_CONSOLE_H
#define VL_PD_CONSOLE_H

#include <stdint.h>

#include <vl_pd/types.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* Initialise it by member name. Apart from socket_path, 0 gives what the comment says. */
typedef struct vl_pd_console_options {
    const char* socket_path; /* where the socket is made; at most 107 bytes */
    pd_session session;      /* the session that reads; 0: with the embedded driver, the console opens one itself */
    pd_device device;
    uint32_t mode; /* the mode of the socket's file, from its first moment on; 0: 0600. Users whom this mode doesn't
                             let write are refused, even if the file's mode is changed later. Root is always admitted */
    uint32_t max_clients; /* at once; 0: 8. Further clients wait 0.1 s, and then get status 503 */
    uint32_t timeout_ms;  /* for a request, and for each step of a client that reads slowly; 0: 5000 */
} vl_pd_console_options;

typedef struct vl_pd_console vl_pd_console;

/*
 * Makes the socket, starts the console and writes it to *console. A socket that an earlier process left behind is
 * replaced. Returns 0, or an errno value and writes nothing:
 *
 *   EINVAL        a null argument or path, an empty path, a mode beyond 0777, more than 1000 clients, more than an hour
 *   ENAMETOOLONG  the path is longer than a socket's address can be
 *   EADDRINUSE    somebody listens at the path
 *   ENOTSOCK      something at the path is no socket
 *   EBUSY         another process keeps the folder of the path locked
 *   ENOMEM, EAGAIN, EMFILE, and what the system says of the folder, such as ENOENT and EACCES
 *   EPROTO        the library or the driver lacks a function, or the driver refuses a session
 */
int vl_pd_console_start(const vl_pd_console_options* options, vl_pd_console** console);

/* Ends all answers, closes the socket, removes its file and frees the console. Null is allowed. In a
 * child of the process that started it, does nothing. */
void vl_pd_console_stop(vl_pd_console* console);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
