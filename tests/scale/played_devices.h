#pragma once

#include "scale/port_numbers.h"
#include "tests/scale/pseudo_terminal.h"

#include <QDir>
#include <QFile>
#include <stdexcept>

/// A folder that stands for the system's devices: nodes of adapters that are plugged in, and the links by their names.
class PlayedDevices {
public:
    explicit PlayedDevices(const QString& folder) : folder_(folder)
    {
        folder_.mkpath("serial/by-id");
        folder_.mkpath("serial/by-path");
    }

    platform::SerialPortPlaces places() const
    {
        platform::SerialPortPlaces places;
        places.programDirectory = "/nobody-there";
        places.devices = folder_.path().toStdU16String();
        places.classes = "/nobody-there"; // what this machine knows of its own ports is nothing to played ones
        return places;
    }
    /// Which adapter a number stands for is kept in this text.
    static scale::AdapterMemory memory(QString& text)
    {
        return {[&text] { return text; }, [&text](const QString& next) { text = next; }};
    }

    /// The line becomes this node, under this stable name and in this socket as well, if they are given. A name that
    /// another adapter has is taken from it.
    void plug(const PseudoTerminal& line, const QString& node, const QString& name = {}, const QString& socket = {})
    {
        link(line.path(), node);
        if (!name.isEmpty()) nameTo(node, name);
        if (!socket.isEmpty()) link(folder_.filePath(node), "serial/by-path/" + socket);
    }
    void pull(const QString& node, const QString& name = {}, const QString& socket = {})
    {
        QFile::remove(folder_.filePath(node));
        if (!name.isEmpty()) QFile::remove(folder_.filePath("serial/by-id/" + name));
        if (!socket.isEmpty()) QFile::remove(folder_.filePath("serial/by-path/" + socket));
    }
    /// The name leads to this node from now on.
    void nameTo(const QString& node, const QString& name)
    {
        QFile::remove(folder_.filePath("serial/by-id/" + name));
        link(folder_.filePath(node), "serial/by-id/" + name);
    }

private:
    void link(const QString& target, const QString& place)
    {
        if (!QFile::link(target, folder_.filePath(place))) throw std::runtime_error("link");
    }

    QDir folder_;
};
