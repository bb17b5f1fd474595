// What whoever started this process wants of the signals that ask a process to end.
#pragma once

// Whether the process is to go on at this signal (SIGINT, SIGTERM, SIGHUP), as `nohup`
// wants it. To be asked before the process handles the signal. Where the system cannot
// tell, false.
bool isIgnored(int signal);
