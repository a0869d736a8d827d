#include "AttributeListeners.hpp"

#include <Bedrock/Trace.hpp>

namespace Facet
{
/// The attribute is gone: none of them is called any more.
void AttributeListeners::end()
{
    m_hasEnded = true;
    markAllRemoved();
    if (!isBeingCalled())
        delete this;
}

/// After the outermost call, when listeners were removed in it or all have ended.
void AttributeListeners::settle()
{
    if (m_hasEnded)
        delete this;
    else
        removeMarked(); // what a listener captured may own the attribute, with which this object goes
}

void AttributeListeners::reportFailure(const char* reason) const
{
    Bedrock::Trace::error("Attribute::notifyChanged # A listener of attribute '%s' failed: %s",
                          m_attributeName.text().constData(), reason);
}
}
