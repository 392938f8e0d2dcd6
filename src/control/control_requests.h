#pragma once

#include <string>
#include <string_view>

#include "ctrl/rx_ctrl.h"

/**
 * Closes what departed clients have left, then accepts one client of the control socket and serves its one
 * message; blocks until that has come.
 *
 * A message of one byte asks for the link parameters: the latest line of them is sent at once, or, while the
 * port is 0, the client is kept until one arrives. Any other message is such a line: hostname, port, speed,
 * interface, inkey and outkey, separated by single blanks, which replace those of `ctrl` (empty keys do not).
 *
 * Returns 0 when the client was answered or is waiting, or the descriptor of a client that delivered
 * parameters, which the caller then owns. Throws "accept()", "fcntl(connfd,F_SETFD,FD_CLOEXEC)", "listen
 * read" or, for a port that is not a number, boost::bad_lexical_cast.
 */
int serveControlClient(RxCtrl& ctrl);

/** A line of link parameters fit for a log: each field from the first key on is "***". */
std::string withoutKeys(std::string_view line);
