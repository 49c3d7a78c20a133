#include "report/Report.h"

#include "report/Message.h"

namespace tool {

void CReport::Fail(const std::string&, const std::string& message)
{
    Complain(message);
}

}  // namespace tool
