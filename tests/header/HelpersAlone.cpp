// The headers beside VideoParams.h, in the oldest language that they promise.
#include "videoparams/nal_feeder.hpp"
#include "videoparams/timestamp.h"

void FeedNothing();

void FeedNothing()
{
    CNalFeeder feeder;
    feeder.Finish([](const unsigned char*, unsigned int) {});
}
