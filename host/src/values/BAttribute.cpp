#include "Ambrel/BAttribute.h"

#include "Ambrel/BException.h"

namespace Ambrel {

BAttribute const* BAttributes::Find(BString const& name) const noexcept {
    for (BAttribute const& attribute : attributes) {
        if (attribute.GetName() == name) {
            return &attribute;
        }
    }
    return nullptr;
}

BAttribute& BAttributes::GetAttribute(BString const& name, bool mustExist) {
    for (BAttribute& attribute : attributes) {
        if (attribute.GetName() == name) {
            return attribute;
        }
    }
    if (mustExist) {
        throw BAttributeDataException("BAttributes::GetAttribute",
                                      BString::Format("Attribute=%s", name.Ascii()));
    }
    return attributes.Emplace(name, BVariant());
}

} // namespace Ambrel
