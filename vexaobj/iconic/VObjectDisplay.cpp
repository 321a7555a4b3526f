// VObject::Display: any iconic object in a window, by its number of
// channels: none is a region, three a colour image, any other an image.
#include <vexaobj/VObject.h>

#include <vexaobj/VProcedural.h>
#include <vexaobj/VTuple.h>
#include <vexaobj/VWindow.h>

#include "control/raise.h"

namespace Vexa {

void VObject::Display(const VWindow& w) const {
  if (!used) {
    VEXA_RAISE("void VObject::Display(const VWindow &w)", "%s", kRegionCleared);
    return;
  }
  if (key == VKEY_UNDEF) return;
  const Vobject object(key, 0);
  const VTuple window(w.WindowHandle());
  VTuple channels;
  count_channels(object, &channels);
  const Vlong n = channels.Num() == 1 ? channels[0].L() : -1;
  if (n == 0)
    disp_region(object, window);
  else if (n == 3)
    disp_color(object, window);
  else
    disp_image(object, window);
}

}  // namespace Vexa
