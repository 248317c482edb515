#pragma once
// Start-up and shutdown: program folder, single instance, the checks of folders, library and
// databases, the database in force and the command line.
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "catalogo/database_choice.h"
#include "comun/context.h"

namespace tornel {

// The program folder: $TORNEL_HOME, else $XDG_DATA_HOME/tornel/, else ~/.local/share/tornel/;
// created when missing, with its default mailbox folder "messages/". Ends in "/". Empty when it
// cannot be made.
std::string CarpetaDelPrograma();

// One running program per program folder: an advisory lock on a file of that folder.
class InstanceLock {
  public:
    InstanceLock() = default;
    InstanceLock(const InstanceLock&) = delete;
    InstanceLock& operator=(const InstanceLock&) = delete;
    ~InstanceLock();
    // False when another program holds the folder.
    bool Acquire(const std::string& carpetaPrograma);

  private:
    int fd_ = -1;
};

void InicializaVariables(Context& c);
void CompruebaDLL(Context& c);
// Tests the mailbox, stars and distances folders; false when one is missing.
bool CompruebaCarpetas(Context& c);
// The second half of the start-up, run again whenever the parameters change.
void DespuesDeCargaParametros(Context& c);
// The mode that the first item of a command line gives: a number that rounds to 0 to 8. Any other
// item gives none, and the whole line is ignored.
std::optional<int16_t> CommandLineMode(const std::string& item);
// The command line: mode, image path, RA, DEC. The RA is brought into 0..360; an RA or DEC that no
// double holds is told and ignored, as a mode of that kind is.
void ExtraeLineaComandos(Context& c, const std::string& linea);

// The whole start-up of the main program, with its command line (already joined by blanks).
// `afterParameters`, when given, changes the parameters just read, before the folders and the
// databases are checked and put in force.
void Form_Load(Context& c, const std::string& lineaComandos,
               const std::function<void(Context&)>& afterParameters = {});
// The end: star file closed, window geometry and parameters saved.
void Form_Unload(Context& c);

// The menus and controls that could change the parameters, unlocked (true) or locked (false).
void PoneMenus(Context& c, bool habilitados);

}  // namespace tornel
