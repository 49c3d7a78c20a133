#pragma once

#include "avc/ParseAVCParams.h"
#include "hevc/ParseHEVCParams.h"

#include <cstdlib>

namespace videoparams::test {

// The object behind a parse handle, made as ParseCreate makes it.
template <typename Parser>
class Created : public Parser
{
public:
    Created() : Parser(HandleFamily::Parse)
    {
        if (Parser::Create(6, 100000) != ResultOk)
            std::abort();
    }
};

using AvcParser = Created<CParseAVCParams>;

}  // namespace videoparams::test
