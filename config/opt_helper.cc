// The default option table of the service's daemons.

#include "vu/config.h"

vu_opt_helper opt_helper[] = {
    {"inet_port", 'b', 's', "10535", "<IP>:<port> bind to specified address for updates"},
    {"dns_port", 'd', 's', "53", "<IP>:<port> bind to specified address for DNS queries"},
    {"hash_size", 'A', 'd', "24", "hash size of VU system"},
    {"conffile", 'c', 's', "none", "user defined configuration file"},
    {"debug", 'v', 'd', "2", "Debug Logging (verbose) level"},
    {"showstatus", 'P', 'd', "0", "Show profiling status"},
    {"isdaemon", 'D', 'b', nullptr, "Toggle executable as Daemon"},
    {"syslog", 'V', 'b', nullptr, "Toggle syslog logging mode"},
    {"signal", 'x', 's', "0", "Toggle signal (SIGTERM) handling"},
    {"userdata", 'x', 's', "value", "User defined parameter (-x userdata=value)"},
    {"cipherType", 'x', 's', "0", "Cipher operation type (-x ciphertype=[0|1|2])"},
    {"systemID", 'x', 's', "", "System Identification (-x systemID=kpm0001)"},
    {"isServer", 'x', 's', "0", "is a server (-x isServer=0)"},
    {nullptr, 0, 0, nullptr, nullptr}};
