/* The floor of Enchant's own work: a provider whose French dictionary knows every word at once.
 * Timing enchant-2 -l with it measures what Enchant (its tokenizer, its personal word list) costs
 * before any provider does anything; bench/enchant_bench.py takes it from each provider's time. */
#include <enchant-provider.h>
#include <glib.h>

static int Verifie(EnchantDict* dict, const char* const mot, size_t longueur) {
  (void)dict;
  (void)mot;
  (void)longueur;
  return 0;
}

static int EstFrancais(const char* etiquette) {
  return !g_strcmp0(etiquette, "fr") || !g_strcmp0(etiquette, "fr_FR");
}

static EnchantDict* Demande(EnchantProvider* fournisseur, const char* const etiquette) {
  (void)fournisseur;
  if (!EstFrancais(etiquette)) return NULL;
  EnchantDict* dict = g_new0(EnchantDict, 1);
  dict->check = Verifie;
  return dict;
}

static void Libere(EnchantProvider* fournisseur, EnchantDict* dict) {
  (void)fournisseur;
  g_free(dict);
}

static int Existe(EnchantProvider* fournisseur, const char* const etiquette) {
  (void)fournisseur;
  return EstFrancais(etiquette);
}

static char** Liste(EnchantProvider* fournisseur, size_t* nombre) {
  (void)fournisseur;
  char** liste = g_new0(char*, 2);
  liste[0] = g_strdup("fr");
  *nombre = 1;
  return liste;
}

static const char* Nom(EnchantProvider* fournisseur) {
  (void)fournisseur;
  return "plancher";
}

static void Dispose(EnchantProvider* fournisseur) { g_free(fournisseur); }

EnchantProvider* init_enchant_provider(void) {
  EnchantProvider* fournisseur = g_new0(EnchantProvider, 1);
  fournisseur->request_dict = Demande;
  fournisseur->dispose_dict = Libere;
  fournisseur->dictionary_exists = Existe;
  fournisseur->identify = Nom;
  fournisseur->describe = Nom;
  fournisseur->list_dicts = Liste;
  fournisseur->dispose = Dispose;
  return fournisseur;
}
