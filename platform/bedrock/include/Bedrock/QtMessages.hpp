#pragma once

#include <Bedrock/Export.hpp>

#include <QtGlobal>

namespace Bedrock
{
/// Makes Qt's own messages lines of the log (Trace.hpp) while it lives, with their text as it is: so they are kept with the
/// others, and shortened where they leave the program. Messages of any thread. One at a time.
class TAVOLA_EXPORT QtMessages
{
public:
    QtMessages();
    ~QtMessages();
    QtMessages(const QtMessages&) = delete;
    QtMessages& operator=(const QtMessages&) = delete;

private:
    QtMessageHandler m_before;
};
}
