"""The errors that matter for each system call, from its manual page."""

CANNOT_FAIL = {"getpid", "getppid", "gettid", "exit_group", "rt_sigreturn", "umask", "munmap", "mprotect"}

OPEN = "ENOENT EACCES EMFILE ENFILE ENOMEM EIO EINTR ENODEV"

BY_CALL = {
    "openat": OPEN,
    "read": "EIO EINTR ENODEV ENOMEM",
    "write": "EIO EINTR EAGAIN EPIPE ENOSPC",
    "close": "EIO EINTR",
    "newfstatat": "ENOENT EACCES EIO ENOMEM ENOTDIR",
    "readlink": "ENOENT EACCES EIO ENOMEM EINVAL",
    "getcwd": "ENOENT EACCES ENOMEM ERANGE",
    "chdir": "ENOENT EACCES EIO ENOMEM",
    "getdents64": "EIO ENOENT ENOMEM",
    "fcntl": "EBADF EINVAL",
    "socket": "EMFILE ENFILE ENOBUFS ENOMEM EACCES",
    "bind": "EADDRINUSE EACCES ENOENT ENOMEM EROFS",
    "listen": "EADDRINUSE EOPNOTSUPP",
    "accept": "EMFILE ENFILE ENOMEM ENOBUFS ECONNABORTED EINTR EAGAIN",
    "recvfrom": "ENOBUFS EINTR ENOMEM EAGAIN",
    "sendto": "EPIPE ECONNRESET EAGAIN ENOBUFS ENOMEM EINTR",
    "pselect6": "EINTR ENOMEM EBADF EINVAL",
    "select": "EINTR ENOMEM EBADF EINVAL",
    "poll": "EINTR ENOMEM",
    "pipe2": "EMFILE ENFILE",
    "vfork": "EAGAIN ENOMEM",
    "wait4": "ECHILD EINTR EINVAL",
    "kill": "ESRCH EPERM",
    "flock": "EINTR ENOLCK EAGAIN",
    "rt_sigaction": "EINVAL",
    "rt_sigprocmask": "EINVAL",
    "clock_nanosleep": "EINTR EINVAL",
    "nanosleep": "EINTR EINVAL",
    "unlink": "ENOENT EACCES EROFS EISDIR",
    "setsockopt": "EPERM ENOPROTOOPT ENOMEM",
    "getsockopt": "EBADF ENOTSOCK",
    "getsockname": "EBADF ENOBUFS",
    "lseek": "ESPIPE EINVAL",
    "ioctl": "ENOTTY EIO",
    "brk": "ENOMEM",
    "mmap": "ENOMEM",
    "execve": "ENOENT EACCES ENOMEM E2BIG ETXTBSY",  # ENOEXEC: the C library starts a shell, a worker that fails
    "prctl": "EINVAL",
    "dup": "EMFILE",
    "chmod": "EPERM EROFS",
    "shutdown": "ENOTCONN",
}

BY_PURPOSE = {
    ("read", "a control client"): "ECONNRESET EIO EINTR ENOMEM",
    ("openat", "the display"): OPEN + " ENXIO",
    ("openat", "what a device is (attributes that may come late)"): OPEN + " ENOTDIR",
    # Left out: after it the daemon would be deaf. It cannot fail, see docs/faults.md.
    ("rt_sigprocmask", "signals that have waited during a launch"): "",
}


def knows(call):
    return call in BY_CALL or call in CANNOT_FAIL


def of(call, purpose):
    return BY_PURPOSE.get((call, purpose), BY_CALL.get(call, "")).split()
