/* A host in C: runs a table of timers, and tells of each callback. ../scenarios.txt has what it prints.
 *
 *     cc -std=c99 scenarios.c -ltovrintimer_c -o scenarios
 */
#include <tovrintimer.h>

#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>

typedef struct scenario {
    const char *name;
    int32_t mode, busy_mode;
    uint64_t tasks;
    double start_delay;
    double busy;                         /* seconds that each TimerFcn takes */
    tovrin_function body;                /* what its TimerFcn does besides, or NULL */
    tovrin_function start_fcn;           /* or NULL for the usual one */
    void (*act)(tovrin_host, tovrin_timer); /* once it has been started, or NULL: waits */
} scenario;

static void require(int32_t code)
{
    if (code != TOVRIN_OK) {
        fprintf(stderr, "%s\n", tovrin_last_error());
        exit(EXIT_FAILURE);
    }
}

/* ---- The four callbacks ---- */

static int32_t tell_start(const tovrin_event *event, void *data)
{
    (void)event;
    (void)data;
    puts("  StartFcn");
    return 0;
}

static void be_busy(double seconds)
{
    const clock_t end = clock() + (clock_t)(seconds * CLOCKS_PER_SEC);
    while (clock() < end) {
    }
}

static int32_t tell_timer(const tovrin_event *event, void *data)
{
    const scenario *const now = data;
    printf("  TimerFcn %lu\n", (unsigned long)event->run);
    be_busy(now->busy);
    return now->body != NULL ? now->body(event, data) : 0;
}

static const char *reason(int32_t end_reason)
{
    static const char *const names[]
        = { "not ended", "tasks done", "stopped", "deleted", "error", "overrun", "shutdown" };
    return names[end_reason];
}

static int32_t tell_stop(const tovrin_event *event, void *data)
{
    (void)data;
    printf("  StopFcn: %s\n", reason(event->end_reason));
    return 0;
}

static int32_t tell_error(const tovrin_event *event, void *data)
{
    (void)data;
    printf("  ErrorFcn: %s\n", event->error);
    return 0;
}

/* ---- What some of them do besides ---- */

static int32_t stop_at_third(const tovrin_event *event, void *data)
{
    (void)data;
    return event->run == 3 ? tovrin_timer_stop(event->timer) : 0;
}

static int32_t fail_at_second(const tovrin_event *event, void *data)
{
    (void)data;
    if (event->run < 2) {
        return 0;
    }
    tovrin_set_error("no such file");
    return 1;
}

static int32_t fail_to_start(const tovrin_event *event, void *data)
{
    tell_start(event, data);
    tovrin_set_error("not ready");
    return 1;
}

static int32_t destroy_itself(const tovrin_event *event, void *data)
{
    (void)data;
    return tovrin_timer_destroy(event->timer);
}

/* ---- What is done with a timer that has been started ---- */

static void stop_before_firing(tovrin_host host, tovrin_timer timer)
{
    require(tovrin_run_until(host, 0.02, NULL, NULL, NULL));
    require(tovrin_timer_stop(timer));
    require(tovrin_timer_wait(timer, INFINITY, NULL));
}

static void wait_with_limit(tovrin_host host, tovrin_timer timer)
{
    int32_t has_ended = 0;
    (void)host;
    require(tovrin_timer_wait(timer, 0.02, &has_ended));
    printf("  ended: %s\n", has_ended ? "true" : "false");
    require(tovrin_timer_wait(timer, INFINITY, &has_ended));
    printf("  ended: %s\n", has_ended ? "true" : "false");
}

static void run_twice(tovrin_host host, tovrin_timer timer)
{
    (void)host;
    require(tovrin_timer_wait(timer, INFINITY, NULL));
    require(tovrin_timer_start(timer));
    require(tovrin_timer_wait(timer, INFINITY, NULL));
}

static void destroy(tovrin_host host, tovrin_timer timer)
{
    (void)host;
    require(tovrin_timer_destroy(timer));
}

static const scenario scenarios[] = {
    { "single shot", TOVRIN_SINGLE_SHOT, TOVRIN_DROP, 0, 0.02, 0, NULL, NULL, NULL },
    { "fixed rate, drop", TOVRIN_FIXED_RATE, TOVRIN_DROP, 4, 0, 0.12, NULL, NULL, NULL },
    { "fixed rate, queue", TOVRIN_FIXED_RATE, TOVRIN_QUEUE, 4, 0, 0.12, NULL, NULL, NULL },
    { "fixed rate, error", TOVRIN_FIXED_RATE, TOVRIN_BUSY_ERROR, 4, 0, 0.12, NULL, NULL, NULL },
    { "fixed delay", TOVRIN_FIXED_DELAY, TOVRIN_DROP, 3, 0, 0.02, NULL, NULL, NULL },
    { "fixed spacing", TOVRIN_FIXED_SPACING, TOVRIN_DROP, 3, 0, 0.02, NULL, NULL, NULL },
    { "stop from within", TOVRIN_FIXED_DELAY, TOVRIN_DROP, 0, 0, 0, stop_at_third, NULL, NULL },
    { "failing callback", TOVRIN_FIXED_RATE, TOVRIN_DROP, 0, 0, 0, fail_at_second, NULL, NULL },
    { "failing StartFcn", TOVRIN_SINGLE_SHOT, TOVRIN_DROP, 0, 0, 0, NULL, fail_to_start, NULL },
    { "stop before firing", TOVRIN_SINGLE_SHOT, TOVRIN_DROP, 0, 3600, 0, NULL, NULL, stop_before_firing },
    { "wait with a limit", TOVRIN_SINGLE_SHOT, TOVRIN_DROP, 0, 0.2, 0, NULL, NULL, wait_with_limit },
    { "two runs", TOVRIN_SINGLE_SHOT, TOVRIN_DROP, 0, 0, 0, NULL, NULL, run_twice },
    { "deleted while it runs", TOVRIN_SINGLE_SHOT, TOVRIN_DROP, 0, 3600, 0, NULL, NULL, destroy },
    { "deleted from within", TOVRIN_FIXED_RATE, TOVRIN_DROP, 0, 0, 0, destroy_itself, NULL, NULL },
};

static void run(tovrin_host host, const scenario *now)
{
    void *const data = (void *)now; /* which is only read */
    tovrin_settings settings;
    tovrin_timer timer;

    puts(now->name);
    require(tovrin_settings_init(&settings, sizeof settings));
    settings.name = "beat";
    settings.execution_mode = now->mode;
    settings.busy_mode = now->busy_mode;
    settings.period = 0.05;
    settings.start_delay = now->start_delay;
    settings.tasks_to_execute = now->tasks;
    settings.start_fcn.function = now->start_fcn != NULL ? now->start_fcn : tell_start;
    settings.timer_fcn.function = tell_timer;
    settings.timer_fcn.data = data;
    settings.stop_fcn.function = tell_stop;
    settings.error_fcn.function = tell_error;
    require(tovrin_timer_create(host, &settings, &timer));
    require(tovrin_timer_start(timer));
    if (now->act != NULL) {
        now->act(host, timer);
    } else {
        require(tovrin_timer_wait(timer, INFINITY, NULL));
    }
}

int main(void)
{
    tovrin_host host;
    size_t i;

    require(tovrin_host_create(NULL, &host));
    for (i = 0; i < sizeof scenarios / sizeof *scenarios; ++i) {
        run(host, &scenarios[i]);
    }
    require(tovrin_host_destroy(host));
    return 0;
}
