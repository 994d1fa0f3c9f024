"""Every file the program cannot write is named with the system's reason, in French and in
English, and nothing is lost: met for real, on every command that writes a file.

- A missing folder, a folder, /dev/full (written in place: it must stay a device).
- A full file system and a read-only one: a small tmpfs mounted in a private mount namespace
  (`unshare -rm`, so no privilege is needed); the old file is still whole afterwards, and no
  temporary file is left behind.
- A refused permission: a folder without write permission, the program run as an unprivileged
  user (setpriv) when the test itself runs as root, whom permissions do not stop.
Where the machine refuses namespaces or the other user, those cases say so and are skipped.
"""
import os
import shutil
import stat
import subprocess
import sys

PROGRAMME, DOSSIER = os.path.abspath(sys.argv[1]), os.path.abspath(sys.argv[2])
shutil.rmtree(DOSSIER, ignore_errors=True)
os.makedirs(DOSSIER)
os.chmod(DOSSIER, 0o755)

RAISONS = {
    "ENOENT": ("Aucun fichier ou dossier de ce type", "No such file or directory"),
    "EISDIR": ("est un dossier", "Is a directory"),
    "ENOSPC": ("Aucun espace disponible sur le périphérique", "No space left on device"),
    "EROFS": ("Système de fichiers accessible en lecture seulement", "Read-only file system"),
    "EACCES": ("Permission non accordée", "Permission denied"),
}
OPERATIONS = {"creation": ("Création échouée", "Creation failed"),
              "ecriture": ("Écriture échouée", "Writing failed")}

# A word list with accents and a ligature, and an XML document made of it.
mots = sorted({f"{a}{b}{c}{n}" for a in "abcdéèfgh" for b in "ilmnoprs" for c in "tuvœxz" for n in range(6)})
liste = os.path.join(DOSSIER, "mots.txt")
with open(liste, "w", encoding="utf-8") as f:
    f.write("\n".join(mots) + "\n")
document = os.path.join(DOSSIER, "doc.xml")
with open(document, "w", encoding="utf-8") as f:
    f.write("<r>" + "".join(f"<m n='{i}'>{m}</m>" for i, m in enumerate(mots)) + "</r>")
os.chmod(liste, 0o644)
os.chmod(document, 0o644)


def ecrivains(cible):
    """Each command that writes `cible`."""
    return [
        ["table", "construis", liste, cible],
        ["lexique", "compile", liste, cible],
        ["huffman", "code", liste, cible],
        ["blocs", "range", liste, cible],
        ["convertis", "-f", "UTF-8", "-t", "UTF-16LE", "-o", cible, liste],
        ["xml", "formate", document, "--sortie", cible],
    ]


def lance(arguments, langue="fr", avant=()):
    environnement = dict(os.environ, LANGUAGE=langue)
    r = subprocess.run([*avant, PROGRAMME, *arguments], capture_output=True, timeout=300, env=environnement)
    return r.returncode, r.stdout.decode("utf-8", "replace"), r.stderr.decode("utf-8", "replace")


def attends_echec(arguments, cible, operation, raison, avant=()):
    """Fails with exit status 1 and one line naming the operation, the file and the reason, in
    both languages."""
    for i, langue in enumerate(("fr", "en")):
        code, _, erreur = lance(arguments, langue, avant)
        attendu = f"outils-socle: {OPERATIONS[operation][i]} : {cible} : {RAISONS[raison][i]}\n"
        assert code == 1 and erreur.endswith(attendu), (arguments, langue, code, erreur, attendu)


# A missing folder, and a folder.
for arguments in ecrivains(os.path.join(DOSSIER, "manque", "sortie")):
    attends_echec(arguments, os.path.join(DOSSIER, "manque", "sortie"), "creation", "ENOENT")
un_dossier = os.path.join(DOSSIER, "un-dossier")
os.makedirs(un_dossier)
for arguments in ecrivains(un_dossier):
    attends_echec(arguments, un_dossier, "creation", "EISDIR")
assert os.listdir(un_dossier) == []

# /dev/full is written in place, refuses the bytes, and stays the device it was.
for arguments in ecrivains("/dev/full"):
    attends_echec(arguments, "/dev/full", "ecriture", "ENOSPC")
    assert stat.S_ISCHR(os.stat("/dev/full").st_mode)

# A full file system and a read-only one, in a mount namespace of our own.
ANCIEN = b"ancien contenu, qui doit rester entier"
montage = os.path.join(DOSSIER, "montage")
os.makedirs(montage)


def sous_tmpfs(options, preparation=""):
    """The command prefix that runs the program on a fresh tmpfs at `montage`."""
    script = f'mount -t tmpfs -o {options} none "$0" && {preparation or "true"} && exec "$@"'
    return ("unshare", "-rm", "sh", "-c", script, montage)


essai = subprocess.run(["unshare", "-rm", "sh", "-c", f"mount -t tmpfs -o size=64k none {montage}"],
                       capture_output=True)
if essai.returncode != 0:
    print("mount namespaces refused here; full and read-only file systems not tried:",
          essai.stderr.decode(errors="replace"))
else:
    cible = os.path.join(montage, "sortie")
    # Full: the old file is there, then a filler takes every free byte. After the failed write
    # the old content is still whole and no temporary file is left.
    preparation = f'printf "%s" "{ANCIEN.decode()}" > "$0/sortie" && (head -c 1M /dev/zero > "$0/plein" || true)'
    for arguments in ecrivains(cible):
        attends_echec(arguments, cible, "ecriture", "ENOSPC", sous_tmpfs("size=64k", preparation))
        controle = subprocess.run(
            ["unshare", "-rm", "sh", "-c",
             f'mount -t tmpfs -o size=64k none "$0" && {preparation} && ("$@" 2>/dev/null; '
             'cat "$0/sortie"; echo; ls -a "$0")', montage, PROGRAMME, *arguments],
            capture_output=True)
        lignes = controle.stdout.split(b"\n")
        assert lignes[0] == ANCIEN, (arguments, controle.stdout)
        assert sorted(lignes[1:-1]) == [b".", b"..", b"plein", b"sortie"], (arguments, controle.stdout)
    # Read-only.
    for arguments in ecrivains(cible):
        attends_echec(arguments, cible, "creation", "EROFS", sous_tmpfs("ro,size=64k"))

# Refused permission: root is not stopped by permissions, so as root the program runs as nobody.
sans_droit = os.path.join(DOSSIER, "sans-droit")
os.makedirs(sans_droit)
os.chmod(sans_droit, 0o555)
avant = ("setpriv", "--reuid=65534", "--regid=65534", "--clear-groups") if os.geteuid() == 0 else ()
essai = subprocess.run([*avant, "sh", "-c", f'test -x "{PROGRAMME}" && test -r "{liste}"'], capture_output=True)
if essai.returncode != 0:
    print("the program or its input is out of reach of an unprivileged user here; "
          "permission refusal not tried")
else:
    for arguments in ecrivains(os.path.join(sans_droit, "sortie")):
        attends_echec(arguments, os.path.join(sans_droit, "sortie"), "creation", "EACCES", avant)
    assert os.listdir(sans_droit) == []
print("ok")
