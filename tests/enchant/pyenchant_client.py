"""Python's pyenchant over our provider (run by enchant_test.py inside its namespace): checking,
suggestions keeping the word's case and elision, Enchant's personal and session words, the
lexicon shared by dictionaries of one language, and threads."""
import concurrent.futures
import sys

import enchant

fautes = []


def attends(condition, message):
    if not condition:
        fautes.append(message)


d = enchant.Dict("fr")
attends(d.provider.name == "outils_socle", f"provider {d.provider.name}")
for mot in ["école", "l'école", "l’école", "aujourd'hui", "c'est-à-dire", "peut-être", "jusqu'au", "qu'il",
            "dis-moi", "a-t-il", "École", "PARIS", "Paris", "ŒUVRE", "oeuvre"]:
    attends(d.check(mot), f"{mot} should be known")
for mot in ["ecole", "l'ecole", "bibliotheque", "vilage", "VILAGE"]:
    attends(not d.check(mot), f"{mot} should be unknown")
cas = {"l'ecole": "l'école", "L'ecole": "L'école", "Bibliotheque": "Bibliothèque",
       "BIBLIOTHEQUE": "BIBLIOTHÈQUE", "peut-etre": "peut-être", "chateaux": "châteaux"}
for mot, juste in cas.items():
    s = d.suggest(mot)
    attends(s and s[0] == juste, f"suggest({mot}) = {s[:3]}, {juste} first expected")

# Enchant keeps the personal word list and the session's words itself, above the provider.
attends(not d.check("zorglub"), "zorglub known before being added")
d.add("zorglub")
attends(d.check("zorglub"), "a word added to the personal list is not known")
attends(enchant.Dict("fr").check("zorglub"), "the personal list is not shared by a new dictionary")
d.add_to_session("blorf")
attends(d.check("blorf"), "a session word is not known")
# (Enchant hands a broker's callers one dictionary per tag: another broker gives another one.)
attends(not enchant.Broker().request_dict("fr").check("blorf"), "a session word leaks into another dictionary")
d.remove("zorglub")
attends(not d.check("zorglub"), "a removed word is still known")

# Threads over one dictionary and over a second of the same language (one mapped lexicon):
# every answer as the single thread gives it.
mots = ["école", "ecole", "village", "vilage", "histoires", "histoirres", "Peut-etre", "voyage"] * 50
attendu = [(d.check(m), tuple(d.suggest(m)[:3])) for m in mots]
autre = enchant.Dict("fr_FR")
attends(autre.provider.name == "outils_socle", f"fr_FR from {autre.provider.name}")


def travail(dictionnaire):
    return [(dictionnaire.check(m), tuple(dictionnaire.suggest(m)[:3])) for m in mots]


with concurrent.futures.ThreadPoolExecutor(8) as pool:
    for resultat in pool.map(travail, [d, autre] * 4):
        attends(resultat == attendu, "a thread's answers differ from the single thread's")

if fautes:
    sys.exit("\n".join(fautes))
print("pyenchant: checks, suggestions, personal and session words, threads")
