#include "automatizacion/mensajes.h"

#include <vector>

#include "astrometria/text_utilities.h"
#include "automatizacion/mailbox_files.h"
#include "comun/numbers.h"
#include "core/parametros.h"
#include "core/startup.h"
#include "resultados/resumen.h"
#include "resultados/status_files.h"

namespace tornel {

namespace {

// Line n (from 1) of a message, or an empty line past its end.
std::string LineOf(const std::vector<std::string>& lines, size_t n) {
    return n <= lines.size() ? lines[n - 1] : std::string{};
}

// Line n as a number, when it holds one.
bool NumberAt(const Context& c, const std::vector<std::string>& lines, size_t n, double& value) {
    std::string text = AjustaSeparadorDecimal(c, LineOf(lines, n));
    if (!IsNumeric(text)) return false;
    value = TextToDouble(text);
    return true;
}

// Line n as a number, or `otherwise` when it holds none.
double NumberOr(const Context& c, const std::vector<std::string>& lines, size_t n, double otherwise) {
    double value = otherwise;
    NumberAt(c, lines, n, value);
    return value;
}

bool OneOf(double v, std::initializer_list<double> values) {
    for (double x : values)
        if (v == x) return true;
    return false;
}

// Reads the message line by line: a line past the end is error 62, as a read past the end of a file.
struct LineReader {
    const std::vector<std::string>& lines;
    size_t next = 0;
    bool More() const { return next < lines.size(); }
    std::string Read() {
        if (!More()) Raise(kErrPastEndOfFile);
        return lines[next++];
    }
};

// The end of a command message that went wrong: the pending command is dropped and tornel.sta
// carries the failure.
void CommandFailed(Context& c, const std::string& comando, const std::string& valor) {
    c.mComandoPendiente.clear();
    c.mValorPendiente.clear();
    c.mUltimoComando = comando;
    c.mUltimoValor = valor;
    GrabaTornelSta(c, kEstadoEsperando, 0);
}

}  // namespace

void TrataFicheroMensajeDeTipo1(Context& c, const std::string& ruta, int32_t& resultado) {
    resultado = MailboxTrap(c, "TrataFicheroMensajeDeTipo1", [&]() -> int32_t {
        std::vector<std::string> lines = ReadMailboxLines(c, ruta);
        LineReader in{lines};
        if (!IsImageMessageLine(in.Read())) return -1;
        ExtraeNombreDeRuta(c, Trim(in.Read()));
        in.Read();
        std::string flag = AjustaSeparadorDecimal(c, in.Read());
        if (IsNumeric(flag) && TextToDouble(flag) != 0) {
            c.gOrigenCoordenadas = 1;
            return 0;
        }
        c.gOrigenCoordenadas = 4;
        in.Read();
        c.gCentroMensajeRA = LeeRealDeTexto(c, Trim(in.Read()));
        in.Read();
        c.gCentroMensajeDEC = LeeRealDeTexto(c, Trim(in.Read()));
        return 0;
    });
}

void TrataFicheroMensajeDeTipo2(Context& c, const std::string& ruta, int32_t& resultado) {
    resultado = MailboxTrap(c, "TrataFicheroMensajeDeTipo2", [&]() -> int32_t {
        std::vector<std::string> lines = ReadMailboxLines(c, ruta);
        if (!IsImageMessageLine(LineOf(lines, 1))) {
            AvisoIdioma(c, "No se puede interpretar el fichero de mensaje " + ruta,
                        "Impossible d'interpréter le fichier message " + ruta,
                        "Invalid message file " + ruta);
            return -1;
        }
        ExtraeNombreDeRuta(c, Trim(LineOf(lines, 2)));
        double origen = 0;
        if (NumberAt(c, lines, 4, origen))
            c.gOrigenCoordenadas = origen >= 0 && origen <= 5 ? ToInteger(origen) : 1;
        if (c.gOrigenCoordenadas == 4) {
            c.gCentroMensajeRA = NumberOr(c, lines, 6, c.gCentroMensajeRA);
            c.gCentroMensajeDEC = NumberOr(c, lines, 8, c.gCentroMensajeDEC);
        }
        double zona = NumberOr(c, lines, 10, 1);
        c.gZonaCielo = OneOf(zona, {1, 3, 4, 8, 9}) ? ToLong(zona) : 1;
        double ventana = NumberOr(c, lines, 12, 0);
        int32_t tipoVentana = ventana >= 0 && ventana <= 3 ? ToLong(ventana) : 0;
        double area = NumberOr(c, lines, 14, 0);
        c.gAreaImagen = area >= 0 && area <= 2 ? ToLong(area) : 0;
        if (c.gAreaImagen != 0) {
            int32_t* corners[] = {&c.mMensajeX1, &c.mMensajeX2, &c.mMensajeY1, &c.mMensajeY2};
            for (size_t k = 0; k < 4; ++k) {
                double v = 0;
                if (NumberAt(c, lines, 16 + 2 * k, v) && v > 0) *corners[k] = ToLong(v);
            }
        }
        // The ring lines count only in zone 2, which line 10 never gives; they stay in the format.
        double ring = 0;
        if (NumberAt(c, lines, 24, ring) && c.gZonaCielo == 2 && ring >= 0)
            c.gAnilloDesde = ToInteger(ring - 90);
        if (NumberAt(c, lines, 26, ring) && c.gZonaCielo == 2 && ring >= 1)
            c.gAnilloHasta = ToInteger(ring - 90);
        c.gTipoVentana = c.gZonaCielo == 1 ? tipoVentana : 0;
        return 0;
    });
}

void TrataFicheroMensajeDeTipo3(Context& c, const std::string& ruta, int32_t& resultado) {
    resultado = MailboxTrap(c, "TrataFicheroMensajeDeTipo3", [&]() -> int32_t {
        std::vector<std::string> lines = ReadMailboxLines(c, ruta);
        LineReader in{lines};
        if (!IsParameterMessageLine(in.Read())) return -1;
        CargaParametros(c, Trim(in.Read()));
        DespuesDeCargaParametros(c);
        GrabaTornelSta(c, kEstadoEsperando, 0);
        return 0;
    });
}

void TrataFicheroMensajeDeTipo4(Context& c, const std::string& ruta, int32_t& resultado) {
    c.mComandoPendiente.clear();
    c.mValorPendiente.clear();
    c.mUltimoComando.clear();
    c.mUltimoValor.clear();
    resultado = MailboxTrap(c, "TrataFicheroMensajeDeTipo4", [&]() -> int32_t {
        std::vector<std::string> lines = ReadMailboxLines(c, ruta);
        LineReader in{lines};
        if (!IsCommandMessageLine(in.Read()) || !in.More()) return -1;
        in.Read();
        if (!in.More()) return -1;
        std::string codigo = in.Read();
        while (in.More() && !Trim(codigo).empty()) {
            std::string valor = in.Read();
            int32_t r = 0;
            DescodificaComando(c, codigo, valor, r);
            if (r == 1) {
                AvisoIdioma(c, "El código '" + codigo + "' no existe.",
                            "Le code '" + codigo + "' n'existe pas.",
                            "The code '" + codigo + "' does not exist.");
                CommandFailed(c, codigo + " = is not a code name", "");
                return 1;
            }
            if (r == 2) {
                AvisoIdioma(c, "El código '" + codigo + "' no admite el valor: \n" + valor,
                            "Le code '" + codigo + "' n'admet pas la valeur: \n" + valor,
                            "The value: " + valor + "\nis not allowed for the command '" + codigo + "'");
                CommandFailed(c, codigo, " incorrect parameter value.");
                return 1;
            }
            std::string verbo = codigo.substr(0, 3);
            if (verbo == "EXE") {
                c.mUltimoComando = codigo;
                c.mUltimoValor = valor;
            } else if (verbo == "GET") {
                c.mUltimoComando = codigo;
                GrabaTornelSta(c, kEstadoEsperando, 0);
            }
            if (in.More()) codigo = in.Read();
        }
        return in.next < 4 ? -1 : 0;
    });
}

}  // namespace tornel
