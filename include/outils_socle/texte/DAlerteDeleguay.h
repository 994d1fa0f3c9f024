#pragma once

#include <outils_socle/Export.h>
#include <outils_socle/texte/DAlerteInfo.h>

// The presenter of alerts. The library never draws a dialog: the host application derives from
// this class, installs one instance with MetsDAlerteDeleguay and keeps it alive; the library
// only borrows the pointer. Install it at start-up, before other threads may raise alerts.
class OUTILS_SOCLE_EXPORT DAlerteDeleguay {
 public:
  DAlerteDeleguay() = default;
  virtual ~DAlerteDeleguay();

  // Shows the alert and returns the user's answer.
  virtual int DAlerte(const DAlerteInfo& info) = 0;
  // The same with one more text, handed on unchanged.
  virtual int DAlerteRappel(const DAlerteInfo& info, const UniChaine& texte) = 0;

  // Null uninstalls.
  static void MetsDAlerteDeleguay(DAlerteDeleguay* presentateur);
  // 0 when no presenter is installed.
  static int DAlerteParDeleguay(const DAlerteInfo& info);
  static int DAlerteRappelParDeleguay(const DAlerteInfo& info, const UniChaine& texte);
};
