#include "io/Interrupt.h"

namespace tool {

namespace {

volatile std::sig_atomic_t isRequested = 0;

void NoteInterrupt(int)
{
    isRequested = 1;
}

}  // namespace

CInterrupt::CInterrupt()
{
    struct sigaction action = {};
    action.sa_handler = NoteInterrupt;
    action.sa_flags = static_cast<int>(SA_RESETHAND);  // no SA_RESTART: a read that waits returns
    sigaction(SIGINT, nullptr, &previous);
    if (previous.sa_handler != SIG_IGN)
        sigaction(SIGINT, &action, nullptr);
}

CInterrupt::~CInterrupt()
{
    sigaction(SIGINT, &previous, nullptr);
}

bool CInterrupt::IsRequested()
{
    return isRequested != 0;
}

}  // namespace tool
