"""outils-socle speaks English to a user whose environment asks for it.

Under LANGUAGE=en, every subcommand's --help, its usage errors and refusals, and a real run of
each action (results, column headers, counts, progress lines) must hold no French left. The
detector is independent of the catalogue: a list of common French words and the letters that
English never writes. What stays French on purpose is taken out first: the names of commands,
actions and options (the interface itself, read from the French help), and the copyright
holder's name.

Usage: anglais_test.py <outils-socle> <work folder>
"""
import os
import re
import subprocess
import sys

PROGRAMME, DOSSIER = sys.argv[1], sys.argv[2]
COMMANDES = ["convertis", "lexique", "huffman", "blocs", "table", "synchro", "jours", "xml", "demo"]

# Words of running French text that are not English words too (no "date", "code", "table",
# "version", "message", "distance", "bits"...).
MOTS_FRANCAIS = set("""
    le la les un une des du de au aux et ou est sont sur sous dans avec sans pour par pas plus
    ce cet cette ces son sa ses leur leurs qui que quand chaque mot mots fichier fichiers texte
    ligne lignes colonne colonnes liste entre comme tout tous toutes deux aussi alors sinon
    jour jours aujourd semaine mois annee lexique formes clefs octets caractere caracteres
    etats codage codages sortie entree attendu attendue attendus attendues inconnu inconnue
    inconnus aucune aucun trouve trouves absente valeur valide bien forme mal ecrit ecrire
    lire relus erreur erreurs defaut selon moins apres avant depuis jusqu temps secondes
    meme hors bornes nombre numero numeros partie parties fusion compilation ecriture lecture
    affiche montre donne rend permis racine enfants enfant requis facultatif limite atteinte
    correspondant commencant premier premiere derniere dernier exacts exactement ni non oui
""".split())
ACCENTS = set("éèêëàâäçùûüôöîïœæÉÈÊÀÇÔÎŒ«»")
TITULAIRE = "Les auteurs d'OutilsSocle"


def lance(*arguments, langue="en", entree=None):
    env = dict(os.environ, LANGUAGE=langue, LC_ALL="C.UTF-8")
    r = subprocess.run([PROGRAMME, *arguments], capture_output=True, timeout=120, env=env, input=entree)
    return r.returncode, r.stdout.decode("utf-8", "replace") + r.stderr.decode("utf-8", "replace")


def noms_de_l_interface():
    """Commands, actions and options, as the French help shows them: they are not translated."""
    noms = set(COMMANDES)
    for commande in COMMANDES:
        _, aide = lance(commande, "--help", langue="fr")
        noms.update(re.findall(r"--([a-z-]+)", aide))
        noms.update(re.findall(r"^  ([a-z]+) ", aide, flags=re.M))
    return {n.replace("-", " ") for n in noms} | {p for n in noms for p in n.split("-")}


def sans_accents(mot):
    return mot.translate(str.maketrans("éèêëàâäçùûüôöîï", "eeeeaaacuuuooii"))


def francais(texte, interface):
    """The French left in `texte`: accented letters, or words of the list."""
    texte = texte.replace(TITULAIRE, "")
    texte = re.sub(r"--?[a-zA-Z][a-zA-Z-]*", " ", texte)  # options
    restes = sorted({c for c in texte if c in ACCENTS})
    for jeton in re.findall(r"[\w'-]+", texte):
        if any(c.isdigit() for c in jeton):
            continue  # "UTF-16LE", "0x4": names and numbers
        for mot in re.findall(r"[^\W\d_]+", jeton):
            m = sans_accents(mot.lower())
            if m in MOTS_FRANCAIS and m not in interface:
                restes.append(mot)
    return restes


os.makedirs(DOSSIER, exist_ok=True)
os.environ["XDG_DATA_HOME"] = os.path.join(DOSSIER, "donnees")  # where lexique installe writes
interface = noms_de_l_interface()


def chemin(nom):
    return os.path.join(DOSSIER, nom)


with open(chemin("list.txt"), "w") as f:
    f.write("alpha\nbeta\ngamma\ndelta\nepsilon\nomega\n")
with open(chemin("new.txt"), "w") as f:
    f.write("alpha\nbeta\nkappa\ndelta\nomega\nzeta\n")
with open(chemin("text.txt"), "w") as f:
    f.write("alpha beta gamma\nbetta omegga\n")
with open(chemin("ok.xml"), "w") as f:
    f.write('<?xml version="1.0"?>\n<root a="1"><item/><item/></root>\n')
with open(chemin("ko.xml"), "w") as f:
    f.write("<root><item></root>\n")
with open(chemin("s.xsd"), "w") as f:
    f.write('<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema"><xs:element name="root">'
            '<xs:complexType><xs:sequence><xs:element name="item" type="xs:string" minOccurs="0" maxOccurs="unbounded"/>'
            '</xs:sequence><xs:attribute name="a" type="xs:int" default="1"/></xs:complexType>'
            '</xs:element></xs:schema>')
lexique, table, blocs, code = chemin("l.aut"), chemin("t.tab"), chemin("b.blocs"), chemin("c.code")

# Each case: the arguments, and the exit status expected (None: any).
CAS = [(["--help"], 0), (["--version"], 0), (["unknown"], 2), ([], 2)]
CAS += [([c, "--help"], 0) for c in COMMANDES]
CAS += [([c], None) for c in COMMANDES if c not in ("jours", "demo")]
CAS += [([c, "unknown"], 2) for c in ("lexique", "huffman", "blocs", "table", "xml")]
CAS += [
    (["convertis", "--vers", "latin9", chemin("text.txt")], 0),
    (["convertis", "-t", "nowhere"], 2),
    (["convertis", "--unknown"], 2),
    (["convertis", "-t", "latin9"], 0, "α\n"),
    (["lexique", "compile", chemin("list.txt"), lexique], 0),
    (["lexique", "compile", chemin("missing.txt"), lexique], 1),
    (["lexique", "info", lexique], 0),
    (["lexique", "cherche", lexique, "ALPHA"], 0),
    (["lexique", "prefixe", lexique, "", "--limite", "2"], 0),
    (["lexique", "joker", lexique, "*a"], 0),
    (["lexique", "corrige", lexique, "alhpa"], 0),
    (["lexique", "forme", lexique, "0", "99"], 0),
    (["lexique", "forme", lexique, "x"], 2),
    (["lexique", "numero", lexique, "beta"], 0),
    (["lexique", "verifie", lexique, chemin("text.txt")], 1),
    (["lexique", "info"], 2),
    (["lexique", "info", chemin("text.txt")], 1),
    (["lexique", "dot", chemin("list.txt"), chemin("l.dot")], 0),
    (["lexique", "installe", chemin("list.txt"), "xx_YY"], 0),
    (["lexique", "installe", chemin("list.txt"), "../x"], 2),
    (["table", "construis", chemin("list.txt"), table], 0),
    (["table", "info", table], 0),
    (["table", "trouve", table, "beta", "zeta"], 0),
    (["table", "cherche", table, "BETA"], 0),
    (["table", "prefixe", table, "", "--limite", "1"], 0),
    (["table", "anagrammes", table, "ateb"], 0),
    (["table", "corrige", table, "bteta"], 0),
    (["table", "construis", chemin("list.txt"), table, "--version", "7"], 2),
    (["blocs", "range", chemin("list.txt"), blocs], 0),
    (["blocs", "lis", blocs, "(3,0)", "(3,6)"], 0),
    (["blocs", "lis", blocs, "nowhere"], 2),
    (["blocs", "range", chemin("list.txt"), blocs, "--codage", "klingon"], 2),
    (["huffman", "stats", chemin("text.txt")], 0),
    (["huffman", "code", chemin("text.txt"), code], 0),
    (["huffman", "encode", code, chemin("text.txt"), chemin("t.huf")], 0),
    (["huffman", "decode", code, chemin("t.huf"), chemin("t.txt")], 0),
    (["huffman", "montre", code, "--limite", "3"], 0),
    (["synchro", chemin("list.txt"), chemin("new.txt")], 1),
    (["synchro", "--cote-a-cote", chemin("list.txt"), chemin("new.txt")], 1),
    (["synchro", "--distance", "--caracteres", chemin("list.txt"), chemin("new.txt")], 1),
    (["synchro", "-", "-"], 2),
    (["synchro", chemin("list.txt")], 2),
    (["jours"], 0),
    (["jours", "01/01/1700"], 0),
    (["jours", "1752-09-05", "2024-02-29"], 0),
    (["jours", "31/02/2000"], 2),
    (["jours", "1", "2", "3"], 2),
    (["xml", "verifie", chemin("ok.xml"), chemin("ko.xml")], 1),
    (["xml", "verifie", chemin("ok.xml"), "--schema", chemin("s.xsd")], 0),
    (["xml", "formate", chemin("ok.xml"), "--codage", "ebcdic"], 2),
    (["xml", "formate", chemin("ko.xml")], 1),
    (["xml", "schema", chemin("s.xsd")], 0),
    (["xml", "schema", chemin("s.xsd"), "root"], 0),
    (["xml", "schema", chemin("s.xsd"), "nowhere"], 1),
]

fautes = []
for arguments, attendu, *entree in CAS:
    code_retour, sortie = lance(*arguments, entree=entree[0].encode() if entree else None)
    if attendu is not None and code_retour != attendu:
        fautes.append(f"{arguments}: exit {code_retour}, expected {attendu}\n{sortie}")
    restes = francais(sortie, interface)
    if restes:
        fautes.append(f"{arguments}: French left {restes}\n{sortie}")
    # The same case in French must speak French: the check above must be able to fail.
    if arguments[-1:] == ["--help"]:
        _, aide_fr = lance(*arguments, langue="fr")
        if not francais(aide_fr, interface):
            fautes.append(f"{arguments}: the detector finds no French in the French help")

if fautes:
    sys.exit("\n\n".join(fautes))
print(f"{len(CAS)} runs in English, no French left")
