' A late-bound client: opens a drawing and lists what its model space holds, with the values
' of the attributed blocks (a title block) read back with GetAttributes.
'   cscript //nologo list_drawing.vbs C:\path\plan.dxf
Option Explicit

If WScript.Arguments.Count < 1 Then
    WScript.Echo "usage: list_drawing.vbs drawing.dxf"
    WScript.Quit 2
End If

Dim doc : Set doc = CreateObject("NkAuto.Document")
doc.Open WScript.Arguments(0)
WScript.Echo doc.Name & ": " & doc.ModelSpace.Count & " objects in model space"

Dim item, attribute
For Each item In doc.ModelSpace
    WScript.Echo "  " & item.ObjectName & "  handle " & item.Handle & "  layer " & item.Layer
    If item.ObjectName = "KxDbText" Then WScript.Echo "    text: " & item.TextString
    If item.ObjectName = "KxDbBlockReference" Then
        If item.HasAttributes Then
            For Each attribute In item.GetAttributes
                WScript.Echo "    " & attribute.TagString & " = " & attribute.TextString
            Next
        End If
    End If
Next
