#pragma once

// The one driver of libxml2's event parser, shared by the tree builder, the streaming interface
// and the schema loader. It owns every safety rule of the public parser's header comment.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <outils_socle/xml/Balise.h>
#include <outils_socle/xml/ParseurXML.h>

namespace sdd::xml {

// What the driver feeds. Debut may take the attributes (they are not used afterwards).
class Recepteur {
 public:
  virtual ~Recepteur() = default;
  virtual void Debut(std::string_view nom, std::vector<Balise::Attribut>& attributs) = 0;
  virtual void Texte(std::string_view texte) = 0;
  virtual void Fin(std::string_view nom) = 0;
  virtual void Commentaire(std::string_view) {}
  virtual void Instruction(std::string_view, std::string_view) {}
  virtual void Notation(std::string_view, std::string_view, std::string_view) {}
  virtual void EntiteNonAnalysee(std::string_view, std::string_view, std::string_view, std::string_view) {}
};

// Where the bytes come from, read in chunks.
class SourceOctets {
 public:
  virtual ~SourceOctets() = default;
  // The next bytes, valid until the next call; empty at the end. Throws on a read failure.
  virtual std::string_view Suivant() = 0;
};

// Parses the whole source; throws ErreurXML, or rethrows what a receiver member threw.
// `dejaDecode`: the bytes are UTF-8 produced by us, whatever the declaration says.
void Analyse(SourceOctets& source, const OptionsParseurXML& options, Recepteur& recepteur, bool dejaDecode);

// Initialises libxml2 once per process (thread-safe).
void InitialiseLibxml();

// While alive, libxml2's messages that reach no parser context (encoding conversion failures,
// for one) are kept here instead of being printed on the process's standard error. libxml2 keeps
// that handler per thread; the previous one is put back at the end.
class CaptureMessagesLibxml {
 public:
  CaptureMessagesLibxml();
  ~CaptureMessagesLibxml();
  CaptureMessagesLibxml(const CaptureMessagesLibxml&) = delete;
  CaptureMessagesLibxml& operator=(const CaptureMessagesLibxml&) = delete;
  // The first message, without its line end; empty when none came.
  const std::string& Premier() const { return premier_; }

 private:
  static void Recoit(void* ctx, const char* format, ...);
  std::string premier_;
  std::string courant_;
  void* ancienContexte_;
  void (*ancienneFonction_)(void*, const char*, ...);
};

}  // namespace sdd::xml
