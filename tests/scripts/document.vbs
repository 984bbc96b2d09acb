' A script client of the database-only document: the database members reached by name.

Dim doc : Set doc = CreateObject("NkAuto.Document")

Check doc.ModelSpace.Count = 0, "a new drawing's model space holds " & doc.ModelSpace.Count & " objects"
Check TypeName(doc.Layers) = "IVeltLayers", "Layers is a " & TypeName(doc.Layers)
Check doc.Layers Is doc.Layers, "two reads of Layers give two objects"
Check doc.Database.Layers Is doc.Layers, "the document and its database give different layer tables"

Dim preferences : Set preferences = doc.Preferences
Check preferences Is doc.Preferences, "Preferences is made anew on each read"
preferences.SolidFill = False
Check preferences.SolidFill = False, "SolidFill stayed on"
preferences.SolidFill = True
Check preferences.SolidFill = True, "SolidFill stayed off"
preferences.ContourLinesPerSurface = 65537
Check preferences.ContourLinesPerSurface = 1, "ContourLinesPerSurface is " & preferences.ContourLinesPerSurface

Dim summary : Set summary = doc.SummaryInfo
summary.Author = "Script"
summary.Author = ""
Check summary.Author = "Script", "Author is """ & summary.Author & """"
summary.AddCustomInfo "Client", "Acme"
Check summary.NumCustomInfo = 1, "NumCustomInfo is " & summary.NumCustomInfo

' An array of doubles (vbArray + vbDouble).
Check VarType(doc.Limits) = 8197, "Limits has the type " & VarType(doc.Limits)
doc.ElevationModelSpace = 2.5
Check doc.ElevationModelSpace = 2.5, "ElevationModelSpace is " & doc.ElevationModelSpace

On Error Resume Next
Dim nothingFound : Set nothingFound = doc.HandleToObject("FFFFFF")
Check Err.Number = &H80070006, "an unknown handle answered " & Hex(Err.Number)
Err.Clear
doc.DxfIn "nothing.dxf", "log.txt"
' VBScript reports E_INVALIDARG as its error 5.
Check Err.Number = 5 Or Err.Number = &H80070057, "DxfIn with a log file answered " & Hex(Err.Number)
Err.Clear
On Error GoTo 0

Report
