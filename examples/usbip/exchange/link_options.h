#pragma once

namespace usbip {

/** After so many seconds without a sign of life from the other end a link counts as broken. */
inline constexpr int silenceLimit = 10;

/**
 * Has the kernel send small packets at once. It then also notices within about `silenceLimit` seconds when the network or
 * the other machine has gone without a word. On an idle link it does so by keepalive, on a busy one by the time that
 * sent bytes may stay unanswered. To be called before the socket is handed over. Throws setsockopt(OPTION).
 */
void prepareLink(int socket);

}  // namespace usbip
