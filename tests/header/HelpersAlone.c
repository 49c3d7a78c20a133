/* The headers beside VideoParams.h, in the oldest language that they promise. */
#include "videoparams/nal_feeder.h"
#include "videoparams/timestamp.h"

int main(void)
{
    VideoParamsNalFeeder feeder;
    VideoParamsInitFeeder(&feeder);
    VideoParamsFreeFeeder(&feeder);
    return 0;
}
