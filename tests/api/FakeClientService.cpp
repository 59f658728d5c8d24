// Stands in for the client service: a process that keeps running, from the
// folder it was started in, until the test ends it.
#include <unistd.h>

int main()
{
    for (;;)
        pause();
}
