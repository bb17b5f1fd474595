#include "ctl/stop.h"

#include "ctl/message.h"
#include "ctl/options.h"
#include "platform/named_semaphore.h"
#include "platform/text.h"

int stop(const std::string& name)
{
    SemaphoreHandle semaphore = openNamedSemaphore(wideText(name).c_str());
    if (!semaphore) {
        say("there is no semaphore '" + name + "': no run of norv has it open");
        return exitNo;
    }
    // A count that stands at its maximum stops the run as well.
    releaseSemaphore(semaphore);
    closeSemaphore(semaphore);
    return 0;
}
