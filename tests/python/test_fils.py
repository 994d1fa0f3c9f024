"""Eight threads hammering shared objects: one lexicon, one table (readers and a writer), one
generator, one Synchro. Runs OUTILS_SOCLE_DUREE_FILS seconds (3 by default; the slow ctest
python.fils gives it 60), in a child process so that a crash fails the test instead of
killing pytest."""
import os
import subprocess
import sys
import textwrap

DUREE = float(os.environ.get("OUTILS_SOCLE_DUREE_FILS", "3"))

PROGRAMME = """
import random, sys, threading, time, outils_socle as o

duree = float(sys.argv[1])
mots = [l.strip() for l in open("/usr/share/dict/french", encoding="utf-8") if l.strip()][::7]
lexique = o.AutomateAcycliqueMin.depuis_octets(o.CompilateurAutomateAcycliqueMin(mots).octets())
table = o.TableChaine({m: i for i, m in enumerate(mots[:20000])})
generateur = lexique.formes_commencant("")
h = random.Random(4)
a = "".join(h.choice("abcdef") for _ in range(3000))
synchro = o.Synchro(a, "".join(c for c in a if h.random() > 0.2))
distance = synchro.distance()
fin = time.monotonic() + duree
erreurs, comptes = [], [0] * 8

def lecteur_lexique(k):
    r = random.Random(k)
    while time.monotonic() < fin:
        m = r.choice(mots)
        if m not in lexique or lexique.forme_pour_no(lexique.no_pour_mot(m)) != m:
            erreurs.append(("lexique", m))
        lexique.formes_pour(m.upper())
        lexique.formes_probabilistes(m[:-1] + "x", limite=3)
        comptes[k] += 1

def lecteur_table(k):
    r = random.Random(k)
    while time.monotonic() < fin:
        m = r.choice(mots[:20000])
        v = table.get(m)
        if v is not None and v != mots.index(m):
            erreurs.append(("table", m, v))
        table.formes_commencant(m[:3], limite=20)
        table.formes_pour(m)
        comptes[k] += 1

def ecrivain_table(k):
    r = random.Random(k)
    while time.monotonic() < fin:
        m = r.choice(mots[:20000])
        if m in table:
            del table[m]
        else:
            table[m] = mots.index(m)
        comptes[k] += 1

def consommateur_generateur(k):
    while time.monotonic() < fin:
        try:
            next(generateur)
        except StopIteration:
            return
        except ValueError as e:
            if str(e) != "generator already executing":
                erreurs.append(("générateur", str(e)))
        comptes[k] += 1

def comparateur(k):
    while time.monotonic() < fin:
        if synchro.distance() != distance:
            erreurs.append(("synchro",))
        comptes[k] += 1

roles = [lecteur_lexique, lecteur_lexique, lecteur_table, lecteur_table, ecrivain_table,
         consommateur_generateur, consommateur_generateur, comparateur]
fils = [threading.Thread(target=f, args=(k,)) for k, f in enumerate(roles)]
for f in fils: f.start()
for f in fils: f.join()
print(erreurs[:5], all(c > 0 for c in comptes))
"""


def test_huit_fils_sur_des_objets_partages():
    r = subprocess.run([sys.executable, "-c", textwrap.dedent(PROGRAMME), str(DUREE)], capture_output=True,
                       text=True, timeout=DUREE + 300)
    assert r.returncode == 0, f"code {r.returncode}\n{r.stderr}"
    assert r.stdout == "[] True\n"
