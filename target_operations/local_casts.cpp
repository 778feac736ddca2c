#include "target_operations/local_casts.h"

using namespace TargetOperations;

BooleanProperty* LocalCastBoolean(IProperty* property) {
  return CastBoolean(property);
}

IntegerProperty* LocalCastInteger(IProperty* property) {
  return CastInteger(property);
}

LocationProperty* LocalCastLocation(IProperty* property) {
  return CastLocation(property);
}

LocationProperty2* LocalCastLocation2(IProperty* property) {
  return CastLocation2(property);
}

StringProperty* LocalCastString(IProperty* property) {
  return CastString(property);
}
