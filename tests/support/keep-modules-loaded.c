/* Preloaded into the processes of the sanitizer test run: dlclose does nothing, so that libraries
 * loaded at run time (Mesa's driver, which Qt's Wayland plugin unloads at exit) stay mapped until
 * the leak check. Their globals then still count as roots; an unloaded library's memory otherwise
 * shows up as a leak of an unknown module, which no suppression can name. */
int dlclose(void *handle)
{
    (void)handle;
    return 0;
}
