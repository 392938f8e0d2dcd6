#pragma once

#include "ctrl/rx_ctrl.h"

/**
 * Collects every worker that has ended. The worker of a device that is still there 150 ms later is started
 * anew, by the way of a new device. The display shows a device that cannot work, and, after a run of quick
 * failures, that devices wait for the Transmitter.
 *
 * The first worker that this call has started and that has ended already is the last that it looks after, so
 * that workers which end at once do not keep it for ever. That end has made `childExitReadEnd` readable, so
 * those that are left need no other notice.
 *
 * A child that could not be executed ends the daemon, as in signals.h.
 *
 * Throws "waitpid()", and stat(PATH) for a device that cannot be looked for. Throws what reading the name of a
 * device throws, where the name is to be shown.
 */
void reapWorkers(RxCtrl& ctrl);
