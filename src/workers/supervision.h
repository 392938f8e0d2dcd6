#pragma once

#include "ctrl/rx_ctrl.h"

/**
 * Collects every worker that has ended. The worker of a device that is still there 150 ms later is started
 * anew, by the way of a new device. The display shows a device that cannot work, and, after a run of quick
 * failures, that devices wait for the Transmitter.
 *
 * It returns after the end of the first worker that it has started itself: workers that end at once would keep
 * it for ever. That end has made `childExitReadEnd` readable, so those that are left need no other notice.
 *
 * A child that could not be executed ends the daemon, as in signals.h.
 *
 * Throws "waitpid()", and stat(PATH) for a device that cannot be looked for. Throws what reading the name of a
 * device throws, where the name is to be shown.
 */
void reapWorkers(RxCtrl& ctrl);
