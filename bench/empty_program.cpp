#include <unistd.h>

// Links the same libraries as the host, and does nothing. The start of a host cannot take less time than this.
int main() {
    return write(STDOUT_FILENO, "!", 1) == 1 ? 0 : 1;
}
