#pragma once

// Everything OutilsSocle offers, in one include. Each header also stands alone.
#include <outils_socle/Export.h>
#include <outils_socle/conteneurs/EnsembleTriay.h>
#include <outils_socle/conteneurs/ListeC.h>
#include <outils_socle/conteneurs/ListeT.h>
#include <outils_socle/conteneurs/ListesDePtr.h>
#include <outils_socle/conteneurs/TableTrieeNoyau.h>
#include <outils_socle/fils/DFil.h>
#include <outils_socle/fils/DGestionnaireFils.h>
#include <outils_socle/fils/DMessagerSurFilCourant.h>
#include <outils_socle/fils/DMutex.h>
#include <outils_socle/fils/FileOperations.h>
#include <outils_socle/flux/Fichier.h>
#include <outils_socle/flux/Flux.h>
#include <outils_socle/flux/Serialiseur.h>
#include <outils_socle/flux/TamponMemoire.h>
#include <outils_socle/texte/ChaineN.h>
#include <outils_socle/texte/ConvertisseurChaineN.h>
#include <outils_socle/texte/DAlerteDeleguay.h>
#include <outils_socle/texte/DAlerteInfo.h>
#include <outils_socle/texte/ErreurFichier.h>
#include <outils_socle/texte/Exception.h>
#include <outils_socle/texte/ExceptionCode.h>
#include <outils_socle/texte/Objet.h>
#include <outils_socle/texte/UniChaine.h>
