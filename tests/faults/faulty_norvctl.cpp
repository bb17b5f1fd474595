// norvctl with a fault. What it starts has none, nor has the process that becomes norv.
#include "platform/dependent.h"
#include "tests/faults/faulty_process.h"

#include <openssl/crypto.h>
#include <openssl/rand.h>

// The program's main, by another name.
int norvctlMain(int count, char** arguments);

int main(int count, char** arguments)
{
    becomeDependent(count, arguments);
    guardFaultyProcess();
    // libcrypto does not survive a failed allocation while it sets itself up.
    unsigned char byte = 0;
    if (!OPENSSL_init_crypto(0, nullptr) || RAND_bytes(&byte, 1) != 1 ||
        RAND_priv_bytes(&byte, 1) != 1)
        return unsetExitCode;
    armFault(describedFault());
    const int exitCode = norvctlMain(count, arguments);
    disarmFault();
    return exitCode;
}
