#include "interfaz/menu_texts.h"

#include "comun/language.h"

namespace tornel {

namespace {

const Caption kCaptions[] = {
    {"mModo", "Archivo", "Fichier", "File"},
    {"mQueImagen", "Origen de la imagen:", "Origine de l'image:", "Origin of the image:"},
    {"mManuales", "Modos manuales:", "Modes manuels:", "Manual modes:"},
    {"mImagenRuta", " A-  Ruta de la imagen ...", " A-  Chemin de l'image ...", " A-  Image path ..."},
    {"mImagenMasReciente", " B-  Imagen más reciente", " B-  Image la plus récente",
     " B-  Most recent image"},
    {"mImagenUltimoMensaje", " C-  Imagen del último mensaje", " C-  Image du dernier message",
     " C-  Image from last message"},
    {"mAutomaticos", "Modos automáticos:", "Modes automatiques:", "Automatic modes:"},
    {"mEsperaImagenMasReciente", " D- Esperar imagen", " D- Attendre une image", " D- Wait for image"},
    {"mEsperaImagenDelMensaje", " E- Esperar mensaje", " E- Attendre un message", " E- Wait for message"},
    {"mSalir", "Salir", "Quitter", "Exit"},

    {"mImagen", "Imagen", "Image", "Image"},
    {"mParteDeImagen", "Qué parte de la imagen:", "Quelle partie de l'image:", "Which part of the image:"},
    {"mTodaLaImagen", "- Analizar toda la imagen", "- Analyser toute l'image", "- Analyze the full image"},
    {"mDentroDelRectangulo", "- Analizar dentro del rectángulo", "- Analyser à l'intérieur du rectangle",
     "- Analyze inside the rectangle"},
    {"mFueraDelRectangulo", "- Analizar fuera del rectángulo", "- Analyser à l'extérieur du rectangle",
     "- Analyze outside the rectangle"},

    {"mCentro", "Coordenadas", "Coordonnées", "Coordinates"},
    {"mCoordenadas", "Buscar alrededor de las coordenadas:", "Chercher autour des coordonnées:",
     "Search around coordinates:"},
    {"mCoordenadasEnCabeceraFit", "- de la cabecera FITS", "- de l'entête FITS", "- from the FITS header"},
    {"mCoordenadasSeleccionadas", "- seleccionadas a mano ...", "- choisies à la main ...",
     "- manually selected ..."},
    {"mCoordenadasAscom", "- de un telescopio COM / ASCOM", "- d'un télescope COM / ASCOM",
     "- from a COM / ASCOM telescope"},
    {"mCoordenadasDeCartesDuCiel", "- de Cartes du Ciel por DDE", "- de Cartes du Ciel par DDE",
     "- from Cartes du Ciel by DDE"},
    {"mCoordenadasRecibidasPorDDE", "- recibidas por DDE", "- reçues par DDE", "- received by DDE"},
    {"mEpocaJ2000", "Época J2000", "Epoque J2000", "J2000 epoch"},

    {"mCampoBusqueda", "Campo de búsqueda", "Champ de recherche", "Search field"},
    {"mCampoPara", "Para los modos manuales y automáticos:", "Pour les modes manuels et automatiques:",
     "For manual and automatic modes:"},
    {"mVentana5x5sinRotacion", " - Campo de 5x5 grados con ángulo de imagen fijo (más rápido)",
     " - Champ de 5x5 degrés avec angle d'image fixe (plus rapide)",
     " - 5x5 degrees field with fixed image angle (faster)"},
    {"mVentana5x5masOpuesto", " - Campo de 5x5 grados con ángulo de imagen doble",
     " - Champ de 5x5 degrés avec angle d'image double", " - 5x5 degrees field with dual image angle"},
    {"mVentana2x2conRotacion", " - Campo de 2x2 grados, cualquier ángulo (más lento)",
     " - Champ de 2x2 degrés, tout angle d'image (plus lent)",
     " - 2x2 degrees field any image angle (slower)"},
    {"mVentana40x40mconRotacion", " - Campo de 40x40 minutos, cualquier ángulo",
     " - Champ de 40x40 minutes, tout angle d'image", " - 40x40 minutes field, any image angle"},
    {"mEnGranCampo", "Búsqueda en grandes áreas. Sólo en búsqueda manual ",
     "Recherche dans de grandes zones. Seulement en recherche manuelle ",
     "Search in big areas. Only for manual search "},
    {"mEnZonaCalibrado", "con ángulo de imagen fijo:", "avec angle d'image fixe:", "with fixed image angle:"},
    {"mEnZonaMeridiano", " - a lo largo del meridiano", " - le long du méridien", " - along the meridian"},
    {"mEnZonaParalelo", " - a lo largo del paralelo", " - le long du parallèle",
     " - along the parallel of latitude"},
    {"mEnZona30x30", " - Campo de 30 x 30 grados", " - Champ de 30 x 30 degrés", " - 30 x 30 degrees field"},
    {"mEnZonaEsferica", " - en un anillo esférico ...", " - dans un anneau sphérique ...",
     " - in a spherical ring ..."},
    {"mEnZonaTodoElCielo", " - buscar en todo el cielo", " - chercher dans tout le ciel",
     " - search the full sky"},
    {"mCampoBusquedaLince", "Campo de búsqueda", "Champ de recherche", "Search field"},
    {"mCieloVisible", " - Buscar sólo en el cielo visible", " - Chercher seulement dans le ciel visible",
     " - Search the visible sky only"},
    {"mCieloTodo", " - Buscar en todo el cielo", " - Chercher dans tout le ciel", " - Search the full sky"},

    {"mMostrar", "Mostrar", "Afficher", "Show"},
    {"mMostrarInformacion", "Mostrar información:", "Afficher l'information:", "Show information:"},
    {"mVerTodo", " - Todo", " - Tout", " - Everything"},
    {"mVerNada", " - Nada", " - Rien", " - Nothing"},
    {"mVerGSC", " - Mostrar números de estrellas", " - Afficher les numéros d'étoiles",
     " - Show star numbers"},
    {"mVerLineas", " - Mostrar líneas", " - Afficher les lignes", " - Show lines"},
    {"mVerObjetos", " - Mostrar objetos", " - Afficher les objets", " - Show objects"},
    {"mVerDestino", " - Mostrar destino", " - Afficher la cible", " - Show target"},
    {"mVerGuiado", "Mostrar consejos de guiado", "Afficher les conseils de guidage", "Show guidance advices"},
    {"mCabecera", "Ver la cabecera FITS", "Voir l'entête FITS", "View the FITS header"},
    {"mListaEstrellas", "Ver la lista de estrellas", "Voir la liste des étoiles", "View the star list"},
    {"mImagen1", "Tamaño real", "Taille réelle", "Actual size"},
    {"mImagen2", "  50 %", "  50 %", "  50 %"},
    {"mImagen4", "  25 %", "  25 %", "  25 %"},

    {"mSincronizaciones", "Sincronizar", "Synchroniser", "Synchronize"},
    {"mSincroniza", "Sincronizar el telescopio", "Synchroniser le télescope", "Synchronize the telescope"},
    {"mSincronizaTipo", "Tipo de telescopio:", "Type de télescope:", "Telescope type:"},
    {"mSincronizaAscom", "   - Telescopio COM / ASCOM", "   - Télescope COM / ASCOM",
     "   - COM / ASCOM telescope"},
    {"mSincronizaCDC", "   - Cartes du Ciel por DDE", "   - Cartes du Ciel par DDE",
     "   - Cartes du Ciel by DDE"},
    {"mSincronizaDDE", "   - Telescopio DDE", "   - Télescope DDE", "   - DDE telescope"},
    {"mActualizaCombos", "Actualizar el centro de la búsqueda (combos)",
     "Mettre à jour le centre de la recherche (listes)", "Update the centre of the search (combos)"},
    {"mAscom", "ASCOM", "ASCOM", "ASCOM"},
    {"mAscomLeeARDE", "Leer AR y DE", "Lire AD et DEC", "Read RA and DEC"},
    {"mAscomSyncTele", "Sincronizar", "Synchroniser", "Synchronize"},

    {"mVarios", "Otros", "Autres", "Others"},
    {"mParametros", "Editar los parámetros ...", "Editer les paramètres ...", "Edit parameters ..."},
    {"mPerfilCargar", "Cargar un perfil de parámetros ...", "Charger un profil de paramètres ...",
     "Load parameter's profile ..."},
    {"mPerfilSalvar", "Salvar el perfil de parámetros ...", "Sauver le profil de paramètres ...",
     "Save parameter's profile ..."},
    {"mResultados", "Resumen de la búsqueda ...", "Résumé de la recherche ...", "Search summary ..."},
    {"mCalibrarPixelYangulo", "Calibrar el tamaño del pixel y el ángulo de la imagen",
     "Calibrer la taille du pixel et l'angle de l'image", "Calibrate pixel size and image angle"},
    {"mInclinacion", "Ajuste fino del ángulo de la imagen ...", "Ajustement fin de l'angle de l'image ...",
     "Fine adjusting the image angle ..."},
    {"mBuscaOrientacionCamara", "Ayuda para calibrar el ángulo de la imagen...",
     "Aide pour calibrer l'angle de l'image...", "Help in calibrating the image angle..."},
    {"mSelTelescopioCOM", "Definir un servidor de telescopio COM ...",
     "Définir un serveur de télescope COM ...", "Define a COM telescope server ..."},
    {"mSelTelescopioASCOM", "Elegir un telescopio ASCOM...", "Choisir un télescope ASCOM...",
     "Choose an ASCOM telescope..."},
    {"mRecentradoSolo", "Analizar sólo para recentrar", "Analyser seulement pour recentrer",
     "Analyze just for recentering"},
    {"mRecentradoRef", "Imagen de referencia para recentrar", "Image de référence pour recentrer",
     "Reference image for recentering"},
    {"mScriptCheck", "Comprobar un fichero script", "Vérifier un fichier script", "Check a script file"},
    {"mIdioma", "Idioma ", "Langue ", "Language "},

    {"mTelescopio", "Telescopio", "Télescope", "Telescope"},
    {"mTeleTitulos", "Nombre:     seg/pix:        ángulo:", "Nom:     sec/pix:        angle:",
     "Name:     sec/pic:        angle:"},
    {"mAyuda", "Ayuda", "Aide", "Help"},

    {"mCentrado", "Centrado", "Centrado", "Centrado"},
    {"mAnalizarToda", "Analizar toda la imagen", "Analyser toute l'image", "Analyze the full image"},
    {"mAnalizarDentro", "Analizar dentro del rectángulo", "Analyser à l'intérieur du rectangle",
     "Analyze inside the rectangle"},
    {"mAnalizarFuera", "Analizar fuera del rectángulo", "Analyser à l'extérieur du rectangle",
     "Analyze outside the rectangle"},
    {"mCalibrarPasos2", "Pasos de la calibración con dos estrellas:",
     "Etapes de la calibration à deux étoiles:", "Two stars calibration steps:"},
    {"mExtraer2", "1-  extraer las estrellas", "1-  extraire les étoiles", "1-  extract the stars"},
    {"mEstrellaA2", "2-  estrella A para calibrar (en un círculo rojo)",
     "2-  étoile A à calibrer (dans un cercle rouge)", "2-  star A to calibrate (in a red circle)"},
    {"mEstrellaB2", "3-  estrella B para calibrar (en un círculo rojo)",
     "3-  étoile B à calibrer (dans un cercle rouge)", "3-  star B to calibrate (in a red circle)"},
    {"mCalibrar2estrellas", "4-  calibrar con dos estrellas ...", "4-  calibrer avec deux étoiles ...",
     "4-  calibrate with two stars ..."},
    {"mCalibrarPasos3", "Pasos de la calibración con tres estrellas:",
     "Etapes de la calibration à trois étoiles:", "Three stars calibration steps:"},
    {"mExtraer3", "1-  extraer las estrellas", "1-  extraire les étoiles", "1-  extract the stars"},
    {"mEstrellaA3", "2-  estrella A para calibrar (en un círculo rojo)",
     "2-  étoile A à calibrer (dans un cercle rouge)", "2-  star A to calibrate (in a red circle)"},
    {"mEstrellaB3", "3-  estrella B para calibrar (en un círculo rojo)",
     "3-  étoile B à calibrer (dans un cercle rouge)", "3-  star B to calibrate (in a red circle)"},
    {"mEstrellaC3", "4-  estrella C para calibrar (en un círculo rojo)",
     "4-  étoile C à calibrer (dans un cercle rouge)", "4-  star C to calibrate (in a red circle)"},
    {"mCalibrar3estrellas", "5-  calibrar con tres estrellas ...", "5-  calibrer avec trois étoiles ...",
     "5-  calibrate with three stars ..."},
    {"mCalibrarInclinacion", "Ajuste fino del ángulo de la imagen ...",
     "Ajustement fin de l'angle de l'image ...", "Fine adjusting the image angle ..."},

    // The controls of the main window.
    {"CommandoAnalizar", "Analizar", "Analyser", "Analyze"},
    {"CommandoVerBD", "Ver BD", "Voir BD", "Show DB"},
    {"CommandoResultados", "Resultado", "Resultat", "Result"},
    {"CommandoFichero", "Imagen ...", "Image ...", "Image ..."},
    {"CommandoConfiguracion", "Parámetros", "Paramètres", "Parameters"},
    {"CommandoSincroniza", "Sincronizar", "Synchroniser", "Synchronize"},
    {"CommandoVisuAuto", "Auto", "Auto", "Auto"},
    {"CommandoScrollCero", "Origen", "Origine", "Origin"},
    {"CheckUmbralAuto", "Umbral automático", "Seuil automatique", "Automatic threshold"},
    {"LevelsTitle", "Niveles de visualización", "Niveaux d'affichage", "Display levels"},
    {"BlackTitle", "Negro", "Noir", "Black"},
    {"WhiteTitle", "Blanco", "Blanc", "White"},
    {"CursorTitle", "Cursor", "Curseur", "Cursor"},
    {"CentreTitle", "Centro (J2000 / fecha)", "Centre (J2000 / date)", "Centre (J2000 / of date)"},
    {"SummaryTitle", "Resumen de la búsqueda", "Résumé de la recherche", "Search summary"},
    {"ThresholdTitle", "Umbral", "Seuil", "Threshold"},
};

}  // namespace

std::span<const Caption> Captions() {
    return kCaptions;
}

std::string CaptionOf(const Context& c, std::string_view name) {
    for (const Caption& k : kCaptions)
        if (name == k.name) return Pick(c, k.es, k.fr, k.en);
    return {};
}

LanguageOrder LanguageMenu(int32_t idioma) {
    switch (idioma) {
        case 1:
            return {"Español", "English", "Français"};
        case 2:
            return {"Français", "English", "Español"};
        default:
            return {"English", "Français", "Español"};
    }
}

int32_t LanguageOfB(int32_t idioma) {
    return idioma == 1 || idioma == 2 ? 0 : 2;
}

int32_t LanguageOfC(int32_t idioma) {
    return idioma == 1 ? 2 : 1;
}

}  // namespace tornel
