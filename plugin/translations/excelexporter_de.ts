<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE" sourcelanguage="en_US">
<context>
    <name>ExcelExporter</name>
    <message>
        <source>Export was not initialized</source>
        <translation>Der Export wurde nicht initialisiert</translation>
    </message>
    <message>
        <source>Exception encountered: %1</source>
        <translation>Ausnahme aufgetreten: %1</translation>
    </message>
    <message>
        <source>Exception encountered: %1
You could retry with a smaller data set.
Memory cleanup may take a while.</source>
        <translation>Ausnahme aufgetreten: %1
Versuchen Sie es mit einer kleineren Datenmenge erneut.
Das Freigeben des Speichers kann eine Weile dauern.</translation>
    </message>
    <message>
        <source>Unknown exception encountered</source>
        <translation>Unbekannte Ausnahme aufgetreten</translation>
    </message>
</context>
<context>
    <name>ExcelExporterOptionsPage</name>
    <message>
        <source>Exporter frame skip (for downsampling)</source>
        <translation>Übersprungene Frames beim Export (zur Reduzierung der Abtastrate)</translation>
    </message>
    <message>
        <source>General Information</source>
        <translation>Allgemeine Informationen</translation>
    </message>
    <message>
        <source>Markers</source>
        <translation>Marker</translation>
    </message>
    <message>
        <source>Segment Orientation - Quat</source>
        <translation>Segmentorientierung - Quat</translation>
    </message>
    <message>
        <source>Segment Orientation - Euler</source>
        <translation>Segmentorientierung - Euler</translation>
    </message>
    <message>
        <source>Segment Position</source>
        <translation>Segmentposition</translation>
    </message>
    <message>
        <source>Segment Velocity</source>
        <translation>Segmentgeschwindigkeit</translation>
    </message>
    <message>
        <source>Segment Acceleration</source>
        <translation>Segmentbeschleunigung</translation>
    </message>
    <message>
        <source>Segment Angular Velocity</source>
        <translation>Winkelgeschwindigkeit der Segmente</translation>
    </message>
    <message>
        <source>Segment Angular Acceleration</source>
        <translation>Winkelbeschleunigung der Segmente</translation>
    </message>
    <message>
        <source>Center of Mass</source>
        <translation>Körperschwerpunkt</translation>
    </message>
    <message>
        <source>Global Position</source>
        <translation>Globale Position</translation>
    </message>
    <message>
        <source>External Data</source>
        <translation>Externe Daten</translation>
    </message>
    <message>
        <source>Joint Angles ZXY</source>
        <translation>Gelenkwinkel ZXY</translation>
    </message>
    <message>
        <source>Joint Angles XZY</source>
        <translation>Gelenkwinkel XZY</translation>
    </message>
    <message>
        <source>Ergonomic Joint Angles ZXY</source>
        <translation>Ergonomische Gelenkwinkel ZXY</translation>
    </message>
    <message>
        <source>Ergonomic Joint Angles XZY</source>
        <translation>Ergonomische Gelenkwinkel XZY</translation>
    </message>
    <message>
        <source>Sensor Orientation - Quat</source>
        <translation>Sensororientierung - Quat</translation>
    </message>
    <message>
        <source>Sensor Orientation - Euler</source>
        <translation>Sensororientierung - Euler</translation>
    </message>
    <message>
        <source>Sensor Free Acceleration</source>
        <translation>Freie Beschleunigung der Sensoren</translation>
    </message>
    <message>
        <source>Sensor Magnetic Field</source>
        <translation>Magnetfeld der Sensoren</translation>
    </message>
</context>
<context>
    <name>QObject</name>
    <message>
        <source>Excel Exporter</source>
        <translation>Excel-Exporter</translation>
    </message>
</context>
</TS>
