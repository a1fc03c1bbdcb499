/* The timer engine for C, and for whatever can call C.
 *
 *     tovrin_host host;
 *     tovrin_host_create(NULL, &host);
 *     ... tovrin_timer_create, tovrin_timer_start ...
 *     tovrin_run_until(host, INFINITY, NULL, NULL, NULL);   until no timer runs any more
 *     tovrin_host_destroy(host);
 *
 * ERRORS. A function that can fail returns a code, TOVRIN_OK (0) if it has done what it says. After any other code
 * nothing has changed, and tovrin_last_error() tells what was wrong: the function, the thing, its value, and what is
 * allowed.
 *
 * HANDLES are numbers. None is given twice in a process, and 0 is none: one that is used after what it stood for has
 * been destroyed gives TOVRIN_ERROR_HANDLE, never anything else.
 *
 * THREADS. A host belongs to the thread that has made it, or adopted it last (tovrin_host_adopt). All functions are for
 * that thread, and give TOVRIN_ERROR_THREAD on another one, but for those marked "any thread". So two threads never run
 * callbacks at the same time, and no function waits for another thread's callback. What another thread wants done it
 * hands over by tovrin_post.
 *
 * CALLBACKS run on the host's thread, inside tovrin_run_until, tovrin_poll, tovrin_task_run, tovrin_timer_wait,
 * tovrin_timer_destroy and tovrin_host_destroy, and nowhere else. They may call all functions, but for tovrin_host_destroy
 * and tovrin_host_adopt. Two callbacks of one timer never run inside each other, but for those that its own
 * tovrin_timer_destroy calls for.
 *
 * C++. An exception that leaves a callback of an embedder is caught, and is a failure of that callback with the text of
 * the std::exception. So it is with every other function that an embedder gives; what becomes of it is said there.
 *
 * STRUCTS begin with their size, which whoever uses them sets to sizeof: so they can grow. A larger one, of a later
 * version, is taken if what is beyond the known part is zero.
 *
 * Times are seconds. Texts are UTF-8, end with a zero byte, and are copied where they are given.
 */
#ifndef TOVRINTIMER_H
#define TOVRINTIMER_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif
#ifdef __ELF__
#pragma GCC visibility push(default)
#endif

/* From here to the end of the declarations there is nothing but C99: no line is for the preprocessor. */

/* What functions return. */
enum {
    TOVRIN_OK = 0,
    TOVRIN_ERROR_ARGUMENT = 1, /* a null pointer where something has to be, or a value that is not allowed */
    TOVRIN_ERROR_HANDLE = 2,   /* no such thing: destroyed, or never made */
    TOVRIN_ERROR_SIZE = 3,     /* the size of a struct is none that is known */
    TOVRIN_ERROR_THREAD = 4,   /* the host belongs to another thread */
    TOVRIN_ERROR_STATE = 5,    /* not now: the text tells why */
    TOVRIN_ERROR_MEMORY = 6,   /* there is no memory left */
    TOVRIN_ERROR_SYSTEM = 7    /* the system has refused something, such as a thread */
};

/* What follows a TimerFcn, and when. */
typedef enum tovrin_execution_mode {
    TOVRIN_SINGLE_SHOT = 0,   /* one TimerFcn */
    TOVRIN_FIXED_SPACING = 1, /* the next one a period after this one has ended */
    TOVRIN_FIXED_DELAY = 2,   /* the next one a period after this one has begun */
    TOVRIN_FIXED_RATE = 3     /* the next one a period after this one was dispatched */
} tovrin_execution_mode;

/* What becomes of a TimerFcn of a fixed rate that falls due while the one before it runs. */
typedef enum tovrin_busy_mode {
    TOVRIN_DROP = 0,      /* it is dropped; the next follows at once */
    TOVRIN_QUEUE = 1,     /* it waits for its turn */
    TOVRIN_BUSY_ERROR = 2 /* the run ends: StopFcn, ErrorFcn */
} tovrin_busy_mode;

/* The callbacks that a timer can have. */
typedef enum tovrin_callback_kind {
    TOVRIN_START_FCN = 1,
    TOVRIN_TIMER_FCN = 2,
    TOVRIN_STOP_FCN = 3,
    TOVRIN_ERROR_FCN = 4
} tovrin_callback_kind;

/* By what a run of a timer has ended. */
typedef enum tovrin_end_reason {
    TOVRIN_NOT_ENDED = 0,
    TOVRIN_TASKS_DONE = 1,
    TOVRIN_STOPPED = 2,
    TOVRIN_DESTROYED = 3,
    TOVRIN_FAILED = 4,     /* an error of its StartFcn or a TimerFcn, or tovrin_timer_fail */
    TOVRIN_OVERRUN = 5,    /* its callbacks took too long: TOVRIN_BUSY_ERROR, or max_backlog */
    TOVRIN_SHUTDOWN = 6    /* tovrin_host_destroy */
} tovrin_end_reason;

/* Bits. From TRACE on: records of the engine, which are many. */
enum {
    TOVRIN_LOG_ERROR = 1, /* a callback, a submit or a posted function has failed */
    TOVRIN_LOG_TRACE = 4,
    TOVRIN_LOG_DETAIL = 16,
    TOVRIN_LOG_ENTER = 32,
    TOVRIN_LOG_LEAVE = 64
};

typedef uint64_t tovrin_host;  /* a handle: of a host, with its timers and its queue */
typedef uint64_t tovrin_timer; /* a handle */
typedef uint64_t tovrin_task;  /* a handle: of something to be done on the host's thread */

/* What a callback is told. Valid until it returns. */
typedef struct tovrin_event {
    size_t size;        /* of the struct */
    tovrin_host host;   /* the timer's */
    tovrin_timer timer; /* whose callback it is */
    int32_t kind;       /* tovrin_callback_kind */
    int32_t end_reason; /* of a StopFcn and an ErrorFcn: tovrin_end_reason */
    uint64_t run;       /* how many TimerFcns of this run have begun: of a TimerFcn its own number, from 1 */
    uint64_t missed;    /* TOVRIN_DROP: firings that were dropped just before this one */
    double time;        /* when it begins: seconds since 1970 by the wall clock */
    double steady_time; /* the same by the steady clock (CLOCK_MONOTONIC, asyncio's loop.time()) */
    double lateness;    /* seconds since it was due */
    const char *name;   /* the timer's */
    const char *error;  /* of an ErrorFcn: what has failed, as text; otherwise NULL */
} tovrin_event;

/* A callback of a timer. 0: it has done its work. Anything else: it has failed. After a failed StartFcn or TimerFcn the
 * ErrorFcn runs, then the StopFcn, and nothing else of that run. The text of the failure is this thread's latest error,
 * be it given to tovrin_set_error or that of a function which the callback has called; without one it tells the number. */
typedef int32_t (*tovrin_function)(const tovrin_event *event, void *data);

/* A function of the embedder's, and what it is called with. */
typedef struct tovrin_callback {
    tovrin_function function; /* NULL: there is none */
    void *data;               /* given to it */
} tovrin_callback;

/* What is set of a timer. */
typedef struct tovrin_settings {
    size_t size;             /* of the struct */
    const char *name;        /* NULL: "timer-1", "timer-2", ... */
    int32_t execution_mode;  /* tovrin_execution_mode */
    int32_t busy_mode;       /* tovrin_busy_mode */
    double period;           /* from 0.001 to 9e9 */
    double start_delay;      /* from 0 to 9e9 */
    uint64_t tasks_to_execute; /* how many TimerFcns; 0: without end. A single shot has one */
    tovrin_callback start_fcn; /* begins a run; may be NULL, like the last two */
    tovrin_callback timer_fcn; /* has to be there */
    tovrin_callback stop_fcn;  /* ends a run */
    tovrin_callback error_fcn; /* follows a failure */
} tovrin_settings;

/* How a timer is doing. */
typedef struct tovrin_statistics {
    size_t size;             /* of the struct */
    int32_t is_running;      /* 1: a start has been accepted, and the run has not ended; its StopFcn may be to come */
    int32_t end_reason;      /* of the latest run: tovrin_end_reason */
    uint64_t tasks_executed; /* TimerFcns of the latest run */
    uint64_t runs;           /* TimerFcns of all runs, like the next two */
    uint64_t drops;          /* firings that TOVRIN_DROP has dropped */
    uint64_t errors;         /* callbacks that have failed */
    double instant_period;   /* between the starts of the two latest TimerFcns of the latest run; NAN before the second */
    double average_period;   /* NAN before the second */
    double remaining;        /* until its next TimerFcn is due; negative if that waits for its turn; NAN if none is known */
} tovrin_statistics;

/* Brings a task to the host's thread, which gives it to tovrin_task_run there. Returns 0 if it has taken it.
 *
 * Called on whichever thread makes the work, the scheduler's or the host's own. It must not wait for the host's thread,
 * and may call tovrin_last_error, tovrin_set_error and tovrin_version alone: everything else gives TOVRIN_ERROR_STATE. A
 * task that it does not take, or where it throws, is told of as TOVRIN_LOG_ERROR; the work waits for the next task. */
typedef int32_t (*tovrin_submit_function)(void *data, tovrin_host host, tovrin_task task);

/* What is logged. Valid until the function returns. */
typedef struct tovrin_record {
    size_t size;         /* of the struct */
    uint32_t severity;   /* one bit */
    const char *channel; /* "host", or one of the engine: "tovrintimer::TimerScheduler", ... */
    const char *text;    /* one line or more */
} tovrin_record;

/* Is told of what happens. Called on any thread, on several at the same time, and with locks of the engine held: it may
 * call what a submit function may. What it throws is lost. */
typedef void (*tovrin_log_function)(const tovrin_record *record, void *data);

/* What is set of a host. Constant. */
typedef struct tovrin_host_settings {
    size_t size;                   /* of the struct */
    tovrin_submit_function submit; /* NULL: tasks wait in the host's own queue alone */
    void *submit_data;             /* given to it */
    tovrin_log_function log;       /* NULL: nothing is told */
    void *log_data;                /* given to it */
    uint32_t log_severities;       /* which are told: TOVRIN_LOG_... */
    uint64_t max_backlog;          /* so many callbacks of a timer may wait, or it is stopped; 0: 10000 */
} tovrin_host_settings;

/* Does something on the host's thread. */
typedef void (*tovrin_posted_function)(void *data);

/* 0 goes on, anything else ends tovrin_run_until. */
typedef int32_t (*tovrin_done_function)(void *data);

/* ---- Any thread, at any time ---- */

/* "0.1.0". For ever valid. */
const char *tovrin_version(void);

/* The text of the latest error on this thread, at most 1,023 bytes of it; "" if there was none. Valid until the next
 * error on this thread. */
const char *tovrin_last_error(void);

/* Gives the text of the error for which this thread's callback is about to return something else than 0. */
void tovrin_set_error(const char *text);

/* Sets all but the size to what holds where nothing is said. TOVRIN_ERROR_SIZE for a size that is not known. */
int32_t tovrin_settings_init(tovrin_settings *settings, size_t size);

/* The same for a host. */
int32_t tovrin_host_settings_init(tovrin_host_settings *settings, size_t size);

/* ---- Hosts ---- */

/* Makes a host of the calling thread; with settings NULL, of tovrin_host_settings_init. Any thread. A process has one at
 * a time: TOVRIN_ERROR_STATE while there is another one. */
int32_t tovrin_host_create(const tovrin_host_settings *settings, tovrin_host *host);

/* Stops all timers, with their last callbacks run before this returns; then runs what has been posted. Once it has
 * returned, nothing is called any more, and all handles of the host are none. */
int32_t tovrin_host_destroy(tovrin_host host);

/* Makes the calling thread the host's. Any thread, but not while the host's thread is in one of its functions. */
int32_t tovrin_host_adopt(tovrin_host host);

/* Has the function called on the host's thread, in its turn among the callbacks. Any thread. What it throws is told of as
 * TOVRIN_LOG_ERROR. */
int32_t tovrin_post(tovrin_host host, tovrin_posted_function function, void *data);

/* Runs what comes, for at most so many seconds (INFINITY: without limit), until `done` says so, which is asked after each
 * callback and posted function; with NULL, until no timer runs or has a callback to come. What `done` throws ends it with
 * TOVRIN_ERROR_STATE. *is_done, unless NULL, is set to 1, or to 0 where the time ran out. */
int32_t tovrin_run_until(tovrin_host host, double seconds, tovrin_done_function done, void *data, int32_t *is_done);

/* Runs at most so many of the callbacks and posted functions that wait by now, 0: all of them, without waiting for more.
 * *ran, unless NULL, is set to how many entries of the queue that were. */
int32_t tovrin_poll(tovrin_host host, uint64_t most, uint64_t *ran);

/* A file descriptor (Linux: eventfd; poll it for reading, never read it), or the handle of an event (Windows), that is
 * ready while something waits for tovrin_poll. The host's, until it is destroyed. */
int32_t tovrin_ready_descriptor(tovrin_host host, intptr_t *descriptor);

/* Each task that the submit function has taken is to be given to one of these, once; a second time, or after the host has
 * been destroyed, it is TOVRIN_ERROR_HANDLE.
 *
 * tovrin_task_run runs what has waited longest: at most one callback, and none where that has been taken back meanwhile,
 * as by a stop. tovrin_task_discard, any thread, gives the task back: its work waits for the next task, tovrin_poll,
 * tovrin_run_until or tovrin_host_destroy. */
int32_t tovrin_task_run(tovrin_host host, tovrin_task task);
/* See tovrin_task_run. */
int32_t tovrin_task_discard(tovrin_host host, tovrin_task task);

/* ---- Timers ---- */

/* Makes a timer, which does not run yet. The settings are copied; what a callback's data points to is not. */
int32_t tovrin_timer_create(tovrin_host host, const tovrin_settings *settings, tovrin_timer *timer);

/* Stops the timer first, with its last callbacks run before this returns. In one of its own callbacks as well. */
int32_t tovrin_timer_destroy(tovrin_timer timer);

/* Period, busy mode, number of tasks and callbacks can be changed while the timer runs, and hold from the next callback;
 * a number of tasks that comes too late for the run is refused. The rest cannot: TOVRIN_ERROR_STATE. A name NULL leaves the
 * name as it is. */
int32_t tovrin_timer_set(tovrin_timer timer, const tovrin_settings *settings);

/* The size has to be set before. The name is valid until the timer is set or destroyed. */
int32_t tovrin_timer_get(tovrin_timer timer, tovrin_settings *settings);

/* TOVRIN_ERROR_STATE if it is running. In its StopFcn or ErrorFcn, or while these are to come, the new run begins behind
 * them. */
int32_t tovrin_timer_start(tovrin_timer timer);

/* Its StopFcn follows, and its StartFcn before, if that is yet to come. Does nothing to a timer that is stopped. */
int32_t tovrin_timer_stop(tovrin_timer timer);

/* Ends the run as a TimerFcn that fails does: ErrorFcn, StopFcn. TOVRIN_ERROR_STATE if it is not running.
 * text: what the ErrorFcn is told. */
int32_t tovrin_timer_fail(tovrin_timer timer, const char *text);

/* Runs what comes, of all timers, until this one neither runs nor has a callback to come; for at most so many seconds
 * (INFINITY: without limit). In its own callbacks TOVRIN_ERROR_STATE: it would never end. *has_ended, unless NULL, is set to
 * 1, or to 0 where the time ran out. */
int32_t tovrin_timer_wait(tovrin_timer timer, double seconds, int32_t *has_ended);

/* The size has to be set before. */
int32_t tovrin_timer_statistics(tovrin_timer timer, tovrin_statistics *statistics);

/* What has failed last in the latest run: "" if nothing has. Valid until the next call of this kind for this timer, or its
 * end. */
int32_t tovrin_timer_error(tovrin_timer timer, const char **text);

/* End of the declarations. */

#ifdef __ELF__
#pragma GCC visibility pop
#endif
#ifdef __cplusplus
}
#endif

#endif
