#include <unistd.h>

// Linked to what the host is linked to, and does nothing: what its start takes, the start of a host cannot save.
int main() {
    return write(STDOUT_FILENO, "!", 1) == 1 ? 0 : 1;
}
