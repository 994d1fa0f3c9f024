#pragma once

// Marks a built-in text for translation and leaves it as it is: xgettext collects the marked
// texts into po/outils-socle.pot (keyword N_), and the English catalogue must cover them all
// (a test checks it). Use it on whole messages, or on the head of a message that goes on with
// " : " and a detail: translation looks a message up whole, then each " : " part apart.
#define N_(texte) texte
