#pragma once

#include "ctrl/rx_ctrl.h"

/**
 * Closes the connections of held clients and the replaced control connections whose clients have gone. One
 * that has only ended its sending is still there. The control connection itself is never closed here.
 *
 * Nobody waits under their numbers any more: they leave `ctrl.waitingClients` and `ctrl.replacedConnections`.
 */
void closeDepartedClients(RxCtrl& ctrl);
