// Uses the default host core services by themselves.
#include <tov/core/TovGlobals.h>
#include <tov/core/TovName.h>

int main()
{
  const TovName rate = TovName::getString("my.rate");
  TovGlobals::def(rate, "48000", kTovIdInteger);
  return TovGlobals::ref(rate, kTovIdInteger, 1)->asInt() == 48000 ? 0 : 1;
}
