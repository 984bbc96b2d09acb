' A late-bound client: opens a drawing and lists what its model space holds.
'   cscript //nologo list_drawing.vbs C:\path\plan.dxf
Option Explicit

If WScript.Arguments.Count < 1 Then
    WScript.Echo "usage: list_drawing.vbs drawing.dxf"
    WScript.Quit 2
End If

Dim doc : Set doc = CreateObject("NkAuto.Document")
doc.Open WScript.Arguments(0)
WScript.Echo doc.Name & ": " & doc.ModelSpace.Count & " objects in model space"

Dim item
For Each item In doc.ModelSpace
    WScript.Echo "  " & item.ObjectName & "  handle " & item.Handle & "  layer " & item.Layer
Next
