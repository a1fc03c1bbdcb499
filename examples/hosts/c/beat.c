#include <tovrintimer.h>

#include <math.h>
#include <stdio.h>

static int32_t say(const tovrin_event *event, void *data)
{
    printf("%s, run %d\n", (const char *)data, (int)event->run);
    return 0; /* anything else: it has failed */
}

int main(void)
{
    tovrin_host host;
    tovrin_timer timer;
    tovrin_settings settings;
    tovrin_settings_init(&settings, sizeof settings);
    settings.execution_mode = TOVRIN_FIXED_RATE;
    settings.period = 0.1; /* seconds */
    settings.tasks_to_execute = 3;
    settings.timer_fcn.function = say;
    settings.timer_fcn.data = "beat";
    if (tovrin_host_create(NULL, &host) || tovrin_timer_create(host, &settings, &timer) || tovrin_timer_start(timer)
        || tovrin_run_until(host, INFINITY, NULL, NULL, NULL) || tovrin_host_destroy(host)) {
        fprintf(stderr, "%s\n", tovrin_last_error());
        return 1;
    }
    return 0;
}
