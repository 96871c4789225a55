// Looks a library part up by name in the loaded libraries.
#include "Samples.hpp"

#include "KF/KF_LibPart.hpp"

bool FindChair(API_LibPart& part)
{
    return KF_LibPart::LibPart(KF_String("Tavolo Chair"), API_ObjectID, part);
}
