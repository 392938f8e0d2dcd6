#pragma once

#include "bench/storms/figures.h"

/** Each storm has units of its own, and writes its figures. Signals interrupt the daemon in all but the costs. */
namespace bench {

/** Many events while the daemon waits for one device, and how many its queue holds. */
void stormWithUevents(Figures& figures);

/** 5,000 devices at start, and others that come and go beside them. */
void stormWithDevices(Figures& figures);

/** 1,000 workers that end at once while 200 clients wait. */
void stormWithDeaths(Figures& figures);

/** 20,000 queries one after another, and as many by 50 clients at a time. */
void stormWithQueries(Figures& figures);

/** What each kind of event costs beside 5,000 workers, compared with 10. */
void compareCosts(Figures& figures);

}  // namespace bench
